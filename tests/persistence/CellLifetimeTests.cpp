// Cells share blocks that hold the module's lock for them: whatever order cells, rows, tables and
// the storage object go in, each cell keeps its value to the end and the module stays loaded until
// the last of them has gone.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

using CellLifetime = PersistenceTest;

std::wstring ValueOfCell(IQnPSProperty* cell) {
    UniqueVariant value;
    EXPECT_EQ(S_OK, cell->get_Value(value.put()));
    return ValueText(value.get());
}

TEST_F(CellLifetime, CellsOutliveTheirTableRowsAndStorageInAnyOrder) {
    auto stream = StreamWith(Document("<ColumnDefs><Title/><Sheets Type=\"INT\"/></ColumnDefs><Properties>"
                                      "<Row RowID=\"R1\" Title=\"Ground floor\" Sheets=\"3\"/>"
                                      "<Row RowID=\"R2\" Title=\"Roof\" Sheets=\"4\"/></Properties>"));
    auto table = Read(stream.get());
    std::vector<ComPtr<IQnPSProperty>> cells;
    for (const wchar_t* row : {L"R2", L"R1"}) {
        for (const wchar_t* column : {L"Title", L"Sheets"}) {
            cells.emplace_back();
            ASSERT_EQ(S_OK, table->get_Property(Bstr(row).get(), Bstr(column).get(), cells.back().put()));
        }
    }
    // Cells the host makes, one with a value wider than eight bytes and one with a text.
    DECIMAL wide{};
    wide.Lo64 = 123456789012345ULL, wide.scale = 4, wide.sign = DECIMAL_NEG;
    UniqueVariant decimal;
    decimal.get().decVal = wide, decimal.get().vt = VT_DECIMAL;
    cells.push_back(MakeCell(nullptr, decimal.get()));
    cells.push_back(MakeCell(nullptr, VariantOf(L"Attic").get()));
    // A text read from the document, replaced by one the host gives.
    ASSERT_EQ(S_OK, cells[0]->put_Value(VariantOf(L"Roof terrace").get()));
    table.reset(), stream.reset(), storage_.reset();

    const std::wstring expected[] = {L"Roof terrace", L"4", L"Ground floor", L"3", L"-12345678901.2345", L"Attic"};
    for (size_t i : {2, 5, 0, 3, 4, 1}) {
        EXPECT_EQ(expected[i], ValueOfCell(cells[i].get())) << i;
        EXPECT_EQ(S_FALSE, ModuleCanUnloadNow()) << "a cell's block let the module go before its cell " << i;
        cells[i].reset();
    }
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

// A row wider than one block spreads its cells over several; each keeps its own value, the texts
// of every block included, and a cell kept from the last block holds the module on its own.
TEST_F(CellLifetime, RowsWiderThanABlockKeepEveryValue) {
    constexpr int kColumns = 600;
    std::string definitions, values;
    for (int c = 0; c < kColumns; ++c) {
        const std::string name = "C" + std::to_string(c);
        definitions += "<" + name + (c % 3 == 1 ? " Type=\"INT\"/>" : "/>");
        // Column 7 is left without a value; column 500's is under another spelling of its name.
        if (c == 7) continue;
        values += " " + (c == 500 ? std::string("c500") : name) + "=\"" +
                  (c % 3 == 1 ? std::to_string(c * 7) : std::string(static_cast<size_t>(c % 40), 'x') + std::to_string(c)) +
                  "\"";
    }
    auto stream = StreamWith(Document("<ColumnDefs>" + definitions + "</ColumnDefs><Properties><Row RowID=\"R1\"" +
                                      values + "/></Properties>"));
    auto table = Read(stream.get());
    for (int c = 0; c < kColumns; ++c) {
        const std::wstring name = L"C" + std::to_wstring(c);
        const std::wstring expected = c == 7       ? L"EMPTY"
                                      : c % 3 == 1 ? L"I4 " + std::to_wstring(c * 7)
                                                   : L"BSTR " + std::wstring(static_cast<size_t>(c % 40), L'x') + std::to_wstring(c);
        ASSERT_EQ(expected, CellText(table.get(), L"R1", name.c_str())) << name;
    }
    ComPtr<IQnPSProperty> last;
    ASSERT_EQ(S_OK, table->get_Property(Bstr(L"R1").get(), Bstr(L"C599").get(), last.put()));
    table.reset(), stream.reset(), storage_.reset();
    EXPECT_EQ(std::wstring(599 % 40, L'x') + L"599", ValueOfCell(last.get()));
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    last.reset();
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

}  // namespace
