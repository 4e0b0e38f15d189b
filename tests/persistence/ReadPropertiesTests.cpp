// ReadProperties: what it refuses, with which error value, and that a refusal leaves no table and
// no live object behind (the fixture checks the module's lock count after every test).
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

const std::string kSections = "<ColumnDefs><A/></ColumnDefs><Properties><Row RowID=\"R1\" A=\"x\"/></Properties>";

class ReadProperties : public PersistenceTest {
protected:
    // The result of reading `bytes`; a refused document must hand out no table.
    HRESULT ReadOf(const std::string& bytes) {
        auto stream = StreamWith(file_, bytes);
        ComPtr<IQnPSTable> table;
        const HRESULT hr = ReadResult(stream.get(), table);
        EXPECT_EQ(hr == S_OK, static_cast<bool>(table)) << "hr 0x" << std::hex << hr;
        return hr;
    }

    CompoundFile file_;
};

TEST_F(ReadProperties, RefusesMissingArgumentsAndObjectsThatAreNoStream) {
    auto stream = StreamWith(file_, Document(kSections));
    ComPtr<IQnPSTable> table;
    EXPECT_EQ(E_INVALIDARG, storage_->ReadProperties(nullptr, table.put()));
    EXPECT_EQ(E_INVALIDARG, storage_->ReadProperties(stream.get(), nullptr));
    auto notAStream = MakeTable();
    EXPECT_EQ(E_INVALIDARG, storage_->ReadProperties(notAStream.get(), table.put()));
    EXPECT_FALSE(table);
}

TEST_F(ReadProperties, AnEmptyStreamIsNoDocumentRatherThanAnEmptyCollection) {
    EXPECT_EQ(kWrongXmlFile, ReadOf(""));
    auto empty = HGlobalStream("");
    IQnPSTable* table = reinterpret_cast<IQnPSTable*>(static_cast<std::uintptr_t>(0xBADC0DE));
    EXPECT_EQ(kWrongXmlFile, storage_->ReadProperties(empty.get(), &table));
    EXPECT_EQ(nullptr, table);
}

TEST_F(ReadProperties, RefusesWhatIsNoPropertyStorageDocument) {
    EXPECT_EQ(kWrongXmlFile, ReadOf("plain text, not XML"));
    EXPECT_EQ(kWrongXmlFile, ReadOf(std::string("\0\1\2\3 binary", 11)));
    EXPECT_EQ(kWrongXmlFile, ReadOf(std::string(kDeclaration)));
    EXPECT_EQ(kWrongXmlFile, ReadOf(Document("<ColumnDefs><A/></ColumnDefs><Properties>")));  // cut short
    EXPECT_EQ(kWrongXmlFile, ReadOf("<Other Version=\"1.01\">" + kSections + "</Other>"));
    EXPECT_EQ(kWrongXmlFile, ReadOf(Document(kSections, " Application=\"Drafting\"")));
    EXPECT_EQ(kWrongXmlFile, ReadOf(Document(kSections, "")));
}

TEST_F(ReadProperties, RefusesEntityExpansionWithoutLeaks) {
    EXPECT_EQ(kWrongXmlFile,
              ReadOf("<?xml version=\"1.0\"?><!DOCTYPE PropertyStorage [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]>"
                     "<PropertyStorage Version=\"1.01\"><ColumnDefs><A/></ColumnDefs>"
                     "<Properties><Row RowID=\"&a;\"/></Properties></PropertyStorage>"));
}

TEST_F(ReadProperties, AMissingSectionIsAnEmptyCollection) {
    EXPECT_EQ(kEmptyCollection, ReadOf(Document("<Properties><Row RowID=\"R1\"/></Properties>")));
    EXPECT_EQ(kEmptyCollection, ReadOf(Document("<ColumnDefs><A/></ColumnDefs>")));
    EXPECT_EQ(kEmptyCollection, ReadOf(Document("")));
}

TEST_F(ReadProperties, ReadsFromWhereTheStreamStands) {
    auto stream = StreamWith(file_, "junk" + Document(kSections));
    LARGE_INTEGER past{};
    past.QuadPart = 4;
    ASSERT_EQ(S_OK, stream->Seek(past, STREAM_SEEK_SET, nullptr));
    ComPtr<IQnPSTable> table;
    ASSERT_EQ(S_OK, storage_->ReadProperties(stream.get(), table.put()));
    EXPECT_EQ(L"R1", RowIds(table.get()));
    // At the end of the stream there is nothing left to load, though the stream is not empty.
    table.reset();
    EXPECT_EQ(kWrongXmlFile, storage_->ReadProperties(stream.get(), table.put()));
}

// The version text as a number: the leading number, and after a point that number times 100 plus
// the number behind the point. Numbers from 1 to 101 are read.
class VersionRule : public ReadProperties, public ::testing::WithParamInterface<std::pair<const char*, HRESULT>> {};

TEST_P(VersionRule, DecidesWhetherTheDocumentIsRead) {
    const auto& [version, expected] = GetParam();
    EXPECT_EQ(expected, ReadOf(Document(kSections, std::string(" Version=\"") + version + "\"")));
}

INSTANTIATE_TEST_SUITE_P(Accepted, VersionRule,
                         ::testing::Values(std::pair("1.01", S_OK), std::pair("1.0", S_OK), std::pair("1.1", S_OK),
                                           std::pair("0.99", S_OK), std::pair("2", S_OK), std::pair("1", S_OK),
                                           std::pair("101", S_OK), std::pair("0.5", S_OK)));
INSTANTIATE_TEST_SUITE_P(Refused, VersionRule,
                         ::testing::Values(std::pair("1.02", kWrongXmlFile), std::pair("1.10", kWrongXmlFile),
                                           std::pair("2.0", kWrongXmlFile), std::pair("0", kWrongXmlFile),
                                           std::pair("", kWrongXmlFile), std::pair("102", kWrongXmlFile),
                                           std::pair("-1", kWrongXmlFile), std::pair("abc", kWrongXmlFile)));

}  // namespace
