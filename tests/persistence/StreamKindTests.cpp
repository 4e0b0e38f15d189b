// The kinds of stream hosts hand over: a stream of a compound file on disk or in memory, opened for
// reading and writing or for reading only, and a stream over the host's own memory.
#include <memory>
#include <string>

#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

std::wstring TemporaryPath() {
    static int counter = 0;
    wchar_t directory[MAX_PATH] = {};
    EXPECT_NE(0u, ::GetTempPathW(MAX_PATH, directory));
    return std::wstring(directory) + L"qnps-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
           std::to_wstring(++counter) + L".stg";
}

enum class Place { Disk, Memory };

class StreamKind : public PersistenceTest, public ::testing::WithParamInterface<Place> {
protected:
    void SetUp() override {
        PersistenceTest::SetUp();
        path_ = GetParam() == Place::Disk ? TemporaryPath() : std::wstring();
        file_ = std::make_unique<CompoundFile>(path_.empty() ? nullptr : path_.c_str());
    }
    void TearDown() override {
        file_.reset();
        if (!path_.empty()) {
            EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(path_.c_str()));
        }
        PersistenceTest::TearDown();
    }

    // Title table of one row; the title column carries `title` in row R1.
    ComPtr<IQnPSTable> TitleTable(const wchar_t* title, const wchar_t* id = L"R1") {
        auto table = MakeTable(L"Drafting");
        auto column = MakeColumn(L"Title");
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
        const auto value = VariantOf(title);
        AddRow(table.get(), id, {{column.get(), &value.get()}});
        return table;
    }

    std::wstring path_;
    std::unique_ptr<CompoundFile> file_;
};

TEST_P(StreamKind, WrittenTablesAreReadBackThroughEveryOpening) {
    {
        auto created = file_->CreateStream();
        ASSERT_EQ(S_OK, Write(created.get(), TitleTable(L"First").get()));
    }
    {
        // Reading needs no write access.
        auto readOnly = file_->OpenStream(STGM_READ);
        EXPECT_EQ(L"First", TextAt(Read(readOnly.get()).get(), L"R1", L"Title"));
    }
    {
        auto readWrite = file_->OpenStream(STGM_READWRITE);
        ASSERT_EQ(S_OK, Write(readWrite.get(), TitleTable(L"Second", L"R2").get()));
    }
    auto again = file_->OpenStream(STGM_READ);
    auto table = Read(again.get());
    // R1 is not in the second table and is gone.
    EXPECT_EQ(L"R2", RowIds(table.get()));
    EXPECT_EQ(L"Second", TextAt(table.get(), L"R2", L"Title"));
}

TEST_P(StreamKind, AReadOnlyOpeningRefusesToWriteAndKeepsTheContent) {
    std::string before;
    {
        auto created = file_->CreateStream();
        ASSERT_EQ(S_OK, Write(created.get(), TitleTable(L"First").get()));
        before = StreamBytes(created.get());
    }
    {
        auto readOnly = file_->OpenStream(STGM_READ);
        EXPECT_EQ(kStreamIsReadOnly, Write(readOnly.get(), TitleTable(L"Second").get()));
    }
    auto check = file_->OpenStream(STGM_READ);
    EXPECT_EQ(before, StreamBytes(check.get()));
}

TEST_P(StreamKind, ALongerOldDocumentLeavesNothingBehind) {
    auto stream = file_->CreateStream();
    auto table = MakeTable(L"Drafting");
    auto column = MakeColumn(L"Title");
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
    const auto longTitle = VariantOf(std::wstring(5000, L'x').c_str());
    for (const wchar_t* id : {L"R1", L"R2", L"R3"}) AddRow(table.get(), id, {{column.get(), &longTitle.get()}});
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));
    const ULONGLONG longSize = StreamSize(stream.get());

    ASSERT_EQ(S_OK, Write(stream.get(), TitleTable(L"short").get(), qnpsOverwrite));
    EXPECT_LT(StreamSize(stream.get()), longSize / 10);
    EXPECT_EQ(Document("<ColumnDefs><Title DispName=\"Title\"/></ColumnDefs>"
                       "<Properties><Row RowID=\"R1\" Title=\"short\"/></Properties>"),
              DocumentText(stream.get()));
}

INSTANTIATE_TEST_SUITE_P(OfACompoundFile, StreamKind, ::testing::Values(Place::Disk, Place::Memory),
                         [](const ::testing::TestParamInfo<Place>& info) {
                             return info.param == Place::Disk ? "OnDisk" : "InMemory";
                         });

using HGlobalStreamKind = PersistenceTest;

TEST_F(HGlobalStreamKind, IsReadButNeverWritten) {
    CompoundFile file;
    auto source = file.CreateStream();
    auto table = MakeTable(L"Drafting");
    ASSERT_EQ(S_OK, Write(source.get(), table.get()));
    const std::string document = StreamBytes(source.get());

    // Such a stream reports no access mode at all, which is not a writable one.
    auto memory = HGlobalStream(document);
    STATSTG status{};
    ASSERT_EQ(S_OK, memory->Stat(&status, STATFLAG_NONAME));
    ASSERT_EQ(0u, status.grfMode & 3);
    EXPECT_EQ(L"Drafting", ApplicationOf(Read(memory.get()).get()));
    EXPECT_EQ(kStreamIsReadOnly, Write(memory.get(), table.get()));
    EXPECT_EQ(document, StreamBytes(memory.get()));
}

}  // namespace
