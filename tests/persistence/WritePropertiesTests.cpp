// WriteProperties: what it refuses, with which error value, and that a refused or failed write
// leaves the stream's content exactly as it was.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

const std::string kOldDocument =
    Document("<ColumnDefs><Title DispName=\"Title\"/></ColumnDefs><Properties><Row RowID=\"R1\" Title=\"Old\"/>"
             "</Properties>");

class WriteProperties : public PersistenceTest {
protected:
    // A Drafting table with one Title column and a row R1 holding `title`.
    ComPtr<IQnPSTable> TitleTable(const VARIANT& title, qnpsPropertyType type = qnpsPropType_String,
                                  const wchar_t* application = L"Drafting") {
        auto table = MakeTable(application);
        auto column = MakeColumn(L"Title", type);
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
        AddRow(table.get(), L"R1", {{column.get(), &title}});
        return table;
    }
    ComPtr<IQnPSTable> TitleTable(const wchar_t* title = L"New") { return TitleTable(VariantOf(title).get()); }

    // Writes under every flag and checks that each write fails as expected and changes nothing.
    void ExpectRefusedUnchanged(IStream* stream, IQnPSTable* table, HRESULT expected,
                                std::initializer_list<long> flags = {qnpsWriteNormal, qnpsOverwrite,
                                                                     qnpsSkipDirection}) {
        const std::string before = StreamBytes(stream);
        for (long flag : flags) {
            EXPECT_EQ(expected, Write(stream, table, flag)) << "flags " << flag;
            EXPECT_EQ(before, StreamBytes(stream)) << "flags " << flag;
        }
    }

    CompoundFile file_;
};

TEST_F(WriteProperties, RefusesMissingArgumentsAndObjectsOfTheWrongKind) {
    auto stream = file_.CreateStream();
    auto table = TitleTable();
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(nullptr, table.get(), qnpsWriteNormal));
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(table.get(), table.get(), qnpsWriteNormal));
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(stream.get(), nullptr, qnpsWriteNormal));
    // A row reaches the call as a table only by a cast; its object type gives it away.
    auto row = MakeRow(L"R1");
    auto* rowAsTable = reinterpret_cast<IQnPSTable*>(static_cast<IQnPSObject*>(row.get()));
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(stream.get(), rowAsTable, qnpsWriteNormal));
    EXPECT_EQ(0u, StreamSize(stream.get()));
}

TEST_F(WriteProperties, RefusesATableWithoutItsCollections) {
    auto stream = file_.CreateStream();
    auto bare = Create<IQnPSTable>(qnpsObjType_Table);
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(stream.get(), bare.get(), qnpsWriteNormal));
    auto withoutRows = Create<IQnPSTable>(qnpsObjType_Table);
    ASSERT_EQ(S_OK, withoutRows->put_ColumnDefs(Create<IQnPSColumnDefCollection>(qnpsObjType_ColumnDefCollection).get()));
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(stream.get(), withoutRows.get(), qnpsWriteNormal));
    auto withoutDefinitions = Create<IQnPSTable>(qnpsObjType_Table);
    ASSERT_EQ(S_OK, withoutDefinitions->put_Rows(Create<IQnPSRowCollection>(qnpsObjType_RowCollection).get()));
    EXPECT_EQ(E_INVALIDARG, storage_->WriteProperties(stream.get(), withoutDefinitions.get(), qnpsWriteNormal));
    EXPECT_EQ(0u, StreamSize(stream.get()));
}

TEST_F(WriteProperties, ReadOnlyStreamsAreRefusedBeforeAnythingIsRead) {
    {
        auto stream = StreamWith(file_, kOldDocument);
    }
    auto readOnly = file_.OpenStream(STGM_READ);
    ExpectRefusedUnchanged(readOnly.get(), TitleTable().get(), kStreamIsReadOnly);
    // Even content that is no XML at all, or a differing application, is not looked at.
    auto memory = HGlobalStream("not XML");
    ExpectRefusedUnchanged(memory.get(), TitleTable().get(), kStreamIsReadOnly);
    auto foreign = HGlobalStream(kOldDocument);
    ExpectRefusedUnchanged(foreign.get(), TitleTable(VariantOf(L"x").get(), qnpsPropType_String, L"Office").get(),
                           kStreamIsReadOnly);
    auto empty = HGlobalStream("");
    ExpectRefusedUnchanged(empty.get(), TitleTable().get(), kStreamIsReadOnly);
}

TEST_F(WriteProperties, AnotherApplicationsDocumentIsLeftAlone) {
    auto stream = StreamWith(file_, kOldDocument);
    const auto office = TitleTable(VariantOf(L"New").get(), qnpsPropType_String, L"Office");
    ExpectRefusedUnchanged(stream.get(), office.get(), kWrongApplication, {qnpsWriteNormal, qnpsSkipDirection});
    // Names of applications are compared without case.
    EXPECT_EQ(S_OK, Write(stream.get(), TitleTable(VariantOf(L"New").get(), qnpsPropType_String, L"DRAFTING").get()));
    // A table without an application name is not compared at all.
    EXPECT_EQ(S_OK, Write(stream.get(), TitleTable(VariantOf(L"New").get(), qnpsPropType_String, nullptr).get()));
    EXPECT_EQ(L"Drafting", ApplicationOf(Read(stream.get()).get()));
}

TEST_F(WriteProperties, ContentThatIsNoXmlCannotBeWrittenOver) {
    auto stream = StreamWith(file_, "just some text that is not XML");
    ExpectRefusedUnchanged(stream.get(), TitleTable().get(), kWriteXmlError,
                           {qnpsWriteNormal, qnpsOverwrite, qnpsOverwrite | qnpsSkipDirection});
    auto truncated = StreamWith(file_, kOldDocument.substr(0, kOldDocument.size() - 10));
    ExpectRefusedUnchanged(truncated.get(), TitleTable().get(), kWriteXmlError);
}

TEST_F(WriteProperties, AValueThatDoesNotConvertFailsTheWholeWrite) {
    for (qnpsPropertyType type : {qnpsPropType_Int, qnpsPropType_Date}) {
        SCOPED_TRACE(type);
        auto table = TitleTable(VariantOf(L"abc").get(), type);
        auto fresh = file_.CreateStream();
        EXPECT_EQ(kWriteXmlError, Write(fresh.get(), table.get()));
        EXPECT_EQ(0u, StreamSize(fresh.get()));
        fresh.reset();
        auto existing = StreamWith(file_, kOldDocument);
        ExpectRefusedUnchanged(existing.get(), table.get(), kWriteXmlError);
    }
}

TEST_F(WriteProperties, ADoubleColumnTakesAnyTextBecauseItIsWrittenAsString) {
    auto stream = file_.CreateStream();
    ASSERT_EQ(S_OK, Write(stream.get(), TitleTable(VariantOf(L"abc").get(), qnpsPropType_Double).get()));
    EXPECT_NE(std::string::npos, DocumentText(stream.get()).find("<Row RowID=\"R1\" Title=\"abc\"/>"));
}

TEST_F(WriteProperties, AFailedWriteCanBeFollowedByAGoodOne) {
    auto stream = StreamWith(file_, kOldDocument);
    EXPECT_EQ(kWriteXmlError, Write(stream.get(), TitleTable(VariantOf(L"abc").get(), qnpsPropType_Int).get()));
    ASSERT_EQ(S_OK, Write(stream.get(), TitleTable(L"Newer").get()));
    EXPECT_EQ(L"Newer", TextAt(Read(stream.get()).get(), L"R1", L"Title"));
}

}  // namespace
