// How documents written by hand, or by other programs, become tables: the reader's own rules for
// names, attributes and rows.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

class DocumentReader : public PersistenceTest {
protected:
    ComPtr<IQnPSTable> ReadOf(const std::string& bytes) { return Read(StreamWith(file_, bytes).get()); }

    qnpsPropertyType TypeOf(IQnPSTable* table, const wchar_t* name) {
        qnpsPropertyType type = qnpsPropType_Unknown;
        EXPECT_EQ(S_OK, ColumnOf(table, name)->get_PropType(&type));
        return type;
    }
    qnpsPropertyDirection DirectionOf(IQnPSTable* table, const wchar_t* name) {
        qnpsPropertyDirection direction{};
        EXPECT_EQ(S_OK, ColumnOf(table, name)->get_Direction(&direction));
        return direction;
    }
    long OrderOf(IQnPSTable* table, const wchar_t* name) {
        long order = -100;
        EXPECT_EQ(S_OK, ColumnOf(table, name)->get_Order(&order));
        return order;
    }
    bool HiddenOf(IQnPSTable* table, const wchar_t* name) {
        VARIANT_BOOL hidden = VARIANT_FALSE;
        EXPECT_EQ(S_OK, ColumnOf(table, name)->get_Hidden(&hidden));
        EXPECT_TRUE(hidden == VARIANT_TRUE || hidden == VARIANT_FALSE);
        return hidden != VARIANT_FALSE;
    }
    std::wstring DispNameOf(IQnPSTable* table, const wchar_t* name) {
        UniqueBstr text;
        EXPECT_EQ(S_OK, ColumnOf(table, name)->get_DispName(text.put()));
        return Text(text.get());
    }

    CompoundFile file_;
};

TEST_F(DocumentReader, RootAndRowNamesAreMatchedWithoutCase) {
    auto table = ReadOf(std::string(kDeclaration) +
                        "<propertystorage Version=\"1.01\" Application=\"Drafting\"><ColumnDefs><A/></ColumnDefs>"
                        "<Properties><row RowID=\"R1\" A=\"one\"/><ROW RowID=\"R2\" A=\"two\"/></Properties>"
                        "</propertystorage>");
    EXPECT_EQ(L"R1,R2", RowIds(table.get()));
    EXPECT_EQ(L"two", TextAt(table.get(), L"R2", L"A"));
    EXPECT_EQ(L"Drafting", ApplicationOf(table.get()));
}

TEST_F(DocumentReader, DropsRowsWithoutIdentifierAndIgnoresOtherChildren) {
    auto table = ReadOf(Document("<ColumnDefs><A/></ColumnDefs><Properties>"
                                 "<Row A=\"lost\"/><!-- a comment --><Other RowID=\"X\"/><?pi data?>"
                                 "<Row RowID=\"\" A=\"empty id\"/><Row RowID=\"R1\"/></Properties>"));
    // An empty identifier is still an identifier.
    EXPECT_EQ(L",R1", RowIds(table.get()));
    // A row without the column's attribute still has a cell for it, empty.
    EXPECT_EQ(VT_EMPTY, ValueAt(table.get(), L"R1", L"A").type());
}

TEST_F(DocumentReader, EmptyColumnDefsGiveATableWithoutColumnsOrRows) {
    auto table = ReadOf(Document("<ColumnDefs/><Properties><Row RowID=\"R1\" A=\"x\"/></Properties>"));
    EXPECT_EQ(0, ColumnCount(table.get()));
    EXPECT_EQ(L"", RowIds(table.get()));
}

TEST_F(DocumentReader, ColumnAttributesFollowTheReadersRules) {
    auto table = ReadOf(Document(
        "<ColumnDefs>"
        "<Plain/>"
        "<Lower DispName=\"\" Type=\"int\" Direction=\"todocument\" Order=\" 12abc\" Hidden=\"0\"/>"
        "<Upper DispName=\"Shown\" Type=\"BOOL\" Direction=\"FROMDOCUMENT\" Order=\"-3\" Hidden=\"no\"/>"
        "<Odd Type=\"Text\" Direction=\"sideways\" Order=\"x\" Hidden=\"\"/>"
        "<Dates Type=\"date\" Hidden=\"false\"/><Reals Type=\"Double\"/>"
        "</ColumnDefs><Properties/>"));
    EXPECT_EQ(L"Plain", DispNameOf(table.get(), L"Plain"));
    EXPECT_EQ(L"Lower", DispNameOf(table.get(), L"Lower"));
    EXPECT_EQ(L"Shown", DispNameOf(table.get(), L"Upper"));

    EXPECT_EQ(qnpsPropType_String, TypeOf(table.get(), L"Plain"));
    EXPECT_EQ(qnpsPropType_Int, TypeOf(table.get(), L"Lower"));
    EXPECT_EQ(qnpsPropType_Bool, TypeOf(table.get(), L"Upper"));
    EXPECT_EQ(qnpsPropType_String, TypeOf(table.get(), L"Odd"));
    EXPECT_EQ(qnpsPropType_Date, TypeOf(table.get(), L"Dates"));
    EXPECT_EQ(qnpsPropType_Double, TypeOf(table.get(), L"Reals"));

    EXPECT_EQ(qnpsPropDirection_Any, DirectionOf(table.get(), L"Plain"));
    EXPECT_EQ(qnpsPropDirection_ToDocument, DirectionOf(table.get(), L"Lower"));
    EXPECT_EQ(qnpsPropDirection_FromDocument, DirectionOf(table.get(), L"Upper"));
    EXPECT_EQ(qnpsPropDirection_Any, DirectionOf(table.get(), L"Odd"));

    EXPECT_EQ(-1, OrderOf(table.get(), L"Plain"));
    EXPECT_EQ(12, OrderOf(table.get(), L"Lower"));
    EXPECT_EQ(-3, OrderOf(table.get(), L"Upper"));
    EXPECT_EQ(0, OrderOf(table.get(), L"Odd"));

    // Any text but exactly "0" hides a column, even "no", "false" and the empty text.
    EXPECT_FALSE(HiddenOf(table.get(), L"Plain"));
    EXPECT_FALSE(HiddenOf(table.get(), L"Lower"));
    EXPECT_TRUE(HiddenOf(table.get(), L"Upper"));
    EXPECT_TRUE(HiddenOf(table.get(), L"Odd"));
    EXPECT_TRUE(HiddenOf(table.get(), L"Dates"));
}

TEST_F(DocumentReader, DuplicateColumnNamesAreKept) {
    auto table = ReadOf(Document("<ColumnDefs><A/><A Type=\"INT\"/></ColumnDefs>"
                                 "<Properties><Row RowID=\"R1\" A=\"7\"/></Properties>"));
    EXPECT_EQ(2, ColumnCount(table.get()));
    // Lookups by name find the first of them.
    EXPECT_EQ(L"7", TextAt(table.get(), L"R1", L"A"));
}

TEST_F(DocumentReader, ValuesAreDecodedByTheirColumnsType) {
    auto table = ReadOf(Document(
        "<ColumnDefs><I Type=\"INT\"/><D Type=\"DATE\"/><X Type=\"DOUBLE\"/><B Type=\"BOOL\"/><S/></ColumnDefs>"
        "<Properties>"
        "<Row RowID=\"R1\" I=\"12abc\" D=\"3FF0000000000000\" X=\"C004000000000000\" B=\"true\" S=\" 5 \"/>"
        "<Row RowID=\"R2\" I=\"abc\" D=\"3FF000000000000\" X=\"3FE0000000000000trailing\" B=\"0\" S=\"\"/>"
        "<Row RowID=\"R3\" B=\"\"/>"
        "</Properties>"));
    struct Expected {
        const wchar_t* row;
        const wchar_t* column;
        VARTYPE type;
        double value;
    };
    for (const Expected& e : {Expected{L"R1", L"I", VT_I4, 12}, Expected{L"R2", L"I", VT_I4, 0},
                              Expected{L"R1", L"D", VT_R8, 1.0}, Expected{L"R2", L"D", VT_R8, 0.0},
                              Expected{L"R1", L"X", VT_R8, -2.5}, Expected{L"R2", L"X", VT_R8, 0.5},
                              Expected{L"R1", L"B", VT_I2, -1}, Expected{L"R2", L"B", VT_I2, 0},
                              Expected{L"R3", L"B", VT_I2, -1}}) {
        SCOPED_TRACE(Text(Bstr(e.row).get()) + L"." + e.column);
        auto value = ValueAt(table.get(), e.row, e.column);
        ASSERT_EQ(e.type, value.type());
        UniqueVariant asDouble;
        ASSERT_EQ(S_OK, ::VariantChangeType(asDouble.put(), &value.get(), 0, VT_R8));
        EXPECT_EQ(e.value, asDouble.get().dblVal);
    }
    EXPECT_EQ(L" 5 ", TextAt(table.get(), L"R1", L"S"));
    EXPECT_EQ(L"", TextAt(table.get(), L"R2", L"S"));
}

}  // namespace
