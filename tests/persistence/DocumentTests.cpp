// Documents to the character, the tables they read back as, and the reader's rules for documents
// written by hand.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

using Documents = PersistenceTest;

// The sample's worked example covers most column attributes; these are the ones it leaves out,
// written together with a direction so that the schema check sees every column attribute.
TEST_F(Documents, HiddenColumnsAndRowsWithoutIdentifier) {
    auto sheets = MakeColumn(L"Sheets", qnpsPropType_Int, 1);
    ASSERT_EQ(S_OK, sheets->put_Hidden(VARIANT_TRUE));
    ASSERT_EQ(S_OK, sheets->put_Direction(qnpsPropDirection_FromDocument));
    auto table = OneCellTable(L"Drafting", sheets.get(), VariantOf(3L).get(), nullptr);
    AddRow(table.get(), L"R2", {{sheets.get(), &UniqueVariant().get()}});
    auto stream = file_.CreateStream();
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));
    EXPECT_EQ(Document("<ColumnDefs><Sheets DispName=\"Sheets\" Direction=\"FromDocument\" Type=\"INT\" Hidden=\"1\" "
                       "Order=\"1\"/></ColumnDefs>"
                       "<Properties><Row RowID=\"\" Sheets=\"3\"/><Row RowID=\"R2\"/></Properties>"),
              StreamText(stream.get()));
    auto back = Read(stream.get());
    EXPECT_EQ(L"[][R2]", RowIds(back.get()));
    EXPECT_EQ(L"Sheets,INT,FromDocument,1,hidden", ColumnText(back.get(), L"sheets"));
    // Looked up without case; R2 has a cell for Sheets, empty.
    EXPECT_EQ(L"EMPTY", CellText(back.get(), L"r2", L"SHEETS"));
}

// One value in a one-column table V: the row's attribute (null where the escaping is the parser's
// own), the cell read back, and the column's type after the write.
struct ValueCase {
    qnpsPropertyType type;
    VARTYPE vt;  // of the value written, converted from number or text
    double number;
    const wchar_t* text;
    const char* attribute;
    const wchar_t* readBack;
    const wchar_t* typeAfterWrite;
};

const ValueCase kValues[] = {
    // A date is the hexadecimal text of its double's bits, read back as VT_R8; a double is
    // converted to a date first, a negative one keeps its sign bit.
    {qnpsPropType_Date, VT_DATE, 1.0, L"", " V=\"3FF0000000000000\"", L"R8 1", L"DATE"},
    {qnpsPropType_Date, VT_R8, -2.0, L"", " V=\"C000000000000000\"", L"R8 -2", L"DATE"},
    {qnpsPropType_Date, VT_R8, 45292.604166666664, L"", " V=\"40E61D9355555555\"", L"R8 45292.6041666667", L"DATE"},
    {qnpsPropType_Int, VT_BSTR, 0, L"12", " V=\"12\"", L"I4 12", L"INT"},
    {qnpsPropType_Int, VT_R8, -7.0, L"", " V=\"-7\"", L"I4 -7", L"INT"},
    // Bool reads back as a 16-bit -1 or 0; only a VT_BOOL's 16 bits count: 65536 has none set.
    {qnpsPropType_Bool, VT_BOOL, 1, L"", " V=\"1\"", L"I2 -1", L"BOOL"},
    {qnpsPropType_Bool, VT_BOOL, 0, L"", " V=\"0\"", L"I2 0", L"BOOL"},
    {qnpsPropType_Bool, VT_I4, 65536, L"", " V=\"0\"", L"I2 0", L"BOOL"},
    // A Double column is written as a String one, as decimal text, too short for the hexadecimal
    // form it is read back in: 0.0.
    {qnpsPropType_Double, VT_R8, 2.5, L"", " V=\"2.5\"", L"R8 0", L"STRING"},
    {qnpsPropType_String, VT_I4, 42, L"", " V=\"42\"", L"BSTR 42", L"STRING"},
    {static_cast<qnpsPropertyType>(7), VT_I4, 3, L"", " V=\"3\"", L"BSTR 3", L"STRING"},
    {qnpsPropType_String, VT_BSTR, 0, L"a & b < c > \"d\" 'e' \u00e9\u20ac", nullptr,
     L"BSTR a & b < c > \"d\" 'e' \u00e9\u20ac", L"STRING"},
    // Empty and null values have no attribute; an empty text is a value.
    {qnpsPropType_Int, VT_NULL, 0, L"", "", L"EMPTY", L"INT"},
    {qnpsPropType_String, VT_EMPTY, 0, L"", "", L"EMPTY", L"STRING"},
    {qnpsPropType_String, VT_BSTR, 0, L"", " V=\"\"", L"BSTR ", L"STRING"},
};

TEST_F(Documents, EachValueHasItsTextInTheDocumentAndItsTypeWhenReadBack) {
    const char* typeAttributes[] = {"", " Type=\"INT\"", " Type=\"DATE\"", " Type=\"DOUBLE\"", " Type=\"BOOL\""};
    for (const ValueCase& c : kValues) {
        SCOPED_TRACE(testing::Message() << "value case " << (&c - kValues));
        // No Application attribute for an empty application name.
        auto table = OneCellTable(L"", MakeColumn(L"V", c.type).get(), ValueOf(c.vt, c.number, c.text).get());
        auto stream = file_.CreateStream();
        ASSERT_EQ(S_OK, Write(stream.get(), table.get()));
        const std::string column = std::string("<V DispName=\"V\"") + (c.type <= 4 ? typeAttributes[c.type] : "");
        if (c.attribute) {
            EXPECT_EQ(Document("<ColumnDefs>" + column + "/></ColumnDefs><Properties><Row RowID=\"R1\"" +
                                   c.attribute + "/></Properties>", " Version=\"1.01\""),
                      StreamText(stream.get()));
        }
        EXPECT_EQ(c.readBack, CellText(Read(stream.get()).get(), L"R1", L"V"));
        // The write leaves its mark on the column: the empty display name has taken the name.
        EXPECT_EQ(std::wstring(L"V,") + c.typeAfterWrite + L",Any,-1,shown", ColumnText(table.get(), L"V"));
    }
}

TEST_F(Documents, TheReadersOwnRulesForNamesAttributesAndRows) {
    auto table = Read(StreamWith(
        std::string(kDeclaration) +
        "<propertystorage Version=\"1.01\" Application=\"Drafting\"><Foreign><ColumnDefs><Plain/>"
        "<Lower DispName=\"\" Type=\"int\" Direction=\"todocument\" Order=\" 12abc\" Hidden=\"0\"/>"
        "<Upper DispName=\"Shown\" Type=\"BOOL\" Direction=\"FROMDOCUMENT\" Order=\"-3\" Hidden=\"no\"/>"
        "<Odd Type=\"Text\" Direction=\"sideways\" Order=\"x\" Hidden=\"\"/><Dates Type=\"date\" Hidden=\"false\"/>"
        "<Reals Type=\"Double\"/><Plain Type=\"INT\"/></ColumnDefs></Foreign><Properties>"
        "<row Plain=\"lost\"/><!-- a comment --><Other RowID=\"X\"/><?pi data?><ROW RowID=\"\" Plain=\"empty id\"/>"
        "<row RowID=\"R1\" Lower=\"12abc\" Upper=\"true\" Dates=\"3FF0000000000000\" Reals=\"C004000000000000\" "
        "Plain=\" 5 \"/><Row RowID=\"R2\" Lower=\"abc\" Upper=\"0\" Dates=\"3FF000000000000\" "
        "Reals=\"3FE0000000000000trailing\" Plain=\"\"/><Row RowID=\"R3\" Upper=\"\" Reals=\"3FFa000000000000\" "
        "dates=\"4000000000000000\" ROWID=\"x\" DATES=\"4008000000000000\"/>"
        "</Properties></propertystorage>")
                          .get());
    ASSERT_TRUE(table);
    // Root and row names without case; a row without identifier is dropped, an empty one is kept.
    EXPECT_EQ(L"[][R1][R2][R3]", RowIds(table.get()));
    // The sections are found at any depth; duplicate names are kept and lookups find the first.
    EXPECT_EQ(7, CountOf(Definitions(table.get()).get()));
    EXPECT_EQ(L"Plain,STRING,Any,-1,shown", ColumnText(table.get(), L"Plain"));
    // An empty DispName is the name; Order is the leading number; any Hidden text but exactly "0"
    // hides, "no", "false" and the empty text included.
    EXPECT_EQ(L"Lower,INT,ToDocument,12,shown", ColumnText(table.get(), L"Lower"));
    EXPECT_EQ(L"Shown,BOOL,FromDocument,-3,hidden", ColumnText(table.get(), L"Upper"));
    EXPECT_EQ(L"Odd,STRING,Any,0,hidden", ColumnText(table.get(), L"Odd"));
    EXPECT_EQ(L"Dates,DATE,Any,-1,hidden", ColumnText(table.get(), L"Dates"));
    EXPECT_EQ(L"Reals,DOUBLE,Any,-1,shown", ColumnText(table.get(), L"Reals"));
    // Int is the leading number, Date and Double the first sixteen hexadecimal digits (0.0 when
    // fewer), Bool -1 for any text but "0".
    EXPECT_EQ(L"I4 12", CellText(table.get(), L"R1", L"Lower"));
    EXPECT_EQ(L"I4 0", CellText(table.get(), L"R2", L"Lower"));
    EXPECT_EQ(L"R8 1", CellText(table.get(), L"R1", L"Dates"));
    // A value under another spelling of its column's name is found, the first such attribute.
    EXPECT_EQ(L"R8 2", CellText(table.get(), L"R3", L"Dates"));
    EXPECT_EQ(L"R8 0", CellText(table.get(), L"R2", L"Dates"));
    EXPECT_EQ(L"R8 -2.5", CellText(table.get(), L"R1", L"Reals"));
    EXPECT_EQ(L"R8 0.5", CellText(table.get(), L"R2", L"Reals"));
    // A lower-case digit is not refused but counts 32 more than its upper-case one: 3F1A..., not 1.625.
    EXPECT_EQ(L"R8 9.918212890625E-05", CellText(table.get(), L"R3", L"Reals"));
    EXPECT_EQ(L"I2 -1", CellText(table.get(), L"R1", L"Upper"));
    EXPECT_EQ(L"I2 0", CellText(table.get(), L"R2", L"Upper"));
    EXPECT_EQ(L"I2 -1", CellText(table.get(), L"R3", L"Upper"));
    EXPECT_EQ(L"BSTR  5 ", CellText(table.get(), L"R1", L"Plain"));
}

// A document type declaration may make the parser's save write what no parser reads, or read back
// what was not written; the write then answers so and leaves the stream as it was.
TEST_F(Documents, DeclarationsThatChangeTheSavedDocumentRefuseTheWrite) {
    const std::string sections = "<ColumnDefs><Title/></ColumnDefs><Properties><Row RowID=\"R1\" Title=\"old\"/></Properties>";
    const struct {
        const char* declaration;
        const char* root;
        HRESULT expected;
    } cases[] = {
        {"", " Version=\"1.01\"", S_OK},
        {"<!DOCTYPE PropertyStorage>", " Version=\"1.01\"", S_OK},
        {"<!DOCTYPE PropertyStorage [<!ENTITY e \"a&#38;#60;b\">]>", " Version=\"1.01\" Note=\"&e;\"", S_OK},
        {"<!DOCTYPE PropertyStorage [<!ENTITY q '&#34;'>]>", " Version=\"1.01\" Note=\"&q;\"", S_OK},
        // A default would fill R2's empty value; a list type would close up the value's spaces.
        {"<!DOCTYPE PropertyStorage [<!ATTLIST Row Title CDATA \"default\">]>", " Version=\"1.01\"", kWriteXmlError},
        {"<!DOCTYPE PropertyStorage [<!ATTLIST Row Title NMTOKENS #IMPLIED>]>", " Version=\"1.01\"", kWriteXmlError},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.declaration);
        auto stream = StreamWith(std::string(kDeclaration) + c.declaration + "<PropertyStorage" + c.root + ">" +
                                 sections + "</PropertyStorage>");
        const std::string before = StreamBytes(stream.get());
        auto title = MakeColumn(L"Title");
        auto table = OneCellTable(nullptr, title.get(), VariantOf(L" two  spaces ").get());
        AddRow(table.get(), L"R2", {{title.get(), &UniqueVariant().get()}});
        const HRESULT hr = Write(stream.get(), table.get());
        EXPECT_EQ(c.expected, hr);
        if (hr != S_OK) {
            EXPECT_EQ(before, StreamBytes(stream.get()));
            continue;
        }
        auto back = Read(stream.get());
        EXPECT_EQ(L"BSTR  two  spaces ", CellText(back.get(), L"R1", L"Title"));
        EXPECT_EQ(L"EMPTY", CellText(back.get(), L"R2", L"Title"));
    }
}

}  // namespace
