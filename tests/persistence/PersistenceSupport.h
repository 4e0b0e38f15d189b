#pragma once

#include <string>

#include "support/StreamSupport.h"

namespace qnps_test {

inline constexpr HRESULT kWriteXmlError = static_cast<HRESULT>(QNPS_E_WRITEXMLERROR);
inline constexpr HRESULT kWrongXmlFile = static_cast<HRESULT>(QNPS_E_WRONGXMLFILE);
inline constexpr HRESULT kEmptyCollection = static_cast<HRESULT>(QNPS_E_EMPTYCOLLECTION);
inline constexpr HRESULT kWrongApplication = static_cast<HRESULT>(QNPS_E_WRONGAPPLICATION);
inline constexpr HRESULT kStreamIsReadOnly = static_cast<HRESULT>(QNPS_E_STREAMISREADONLY);

// Root attributes and content of a property storage document.
inline std::string Document(const std::string& content,
                            const std::string& root = " Version=\"1.01\" Application=\"Drafting\"") {
    return std::string(kDeclaration) + "<PropertyStorage" + root + ">" + content + "</PropertyStorage>";
}

// A VARIANT of type `vt` converted from `number`, or `text` for VT_BSTR.
inline UniqueVariant ValueOf(VARTYPE vt, double number, const wchar_t* text = L"") {
    UniqueVariant value = vt == VT_BSTR ? VariantOf(text) : VariantOfDouble(number);
    if (vt == VT_EMPTY || vt == VT_NULL) value.get().vt = vt;
    EXPECT_EQ(S_OK, ::VariantChangeType(&value.get(), &value.get(), 0, vt));
    return value;
}

class PersistenceTest : public ComTest {
protected:
    // The previous stream of file_ must be closed first.
    ComPtr<IStream> StreamWith(const std::string& bytes) {
        auto stream = file_.CreateStream();
        SetStreamBytes(stream.get(), bytes);
        return stream;
    }
    HRESULT ReadResult(IStream* stream, ComPtr<IQnPSTable>& table) {
        Rewind(stream);
        IQnPSTable* read = Unwritten<IQnPSTable>();
        const HRESULT hr = storage_->ReadProperties(stream, &read);
        if (read == Unwritten<IQnPSTable>()) ADD_FAILURE() << "a stream's refusal writes a null table", read = nullptr;
        table = ComPtr<IQnPSTable>::Attach(read);
        EXPECT_EQ(hr == S_OK, static_cast<bool>(table)) << "a refusal hands out no table; hr " << std::hex << hr;
        return hr;
    }
    ComPtr<IQnPSTable> Read(IStream* stream) {
        ComPtr<IQnPSTable> table;
        EXPECT_EQ(S_OK, ReadResult(stream, table));
        return table;
    }
    // Every document written is kept for the schema check.
    HRESULT Write(IStream* stream, IQnPSTable* table, long flags = qnpsWriteNormal) {
        Rewind(stream);
        const HRESULT hr = storage_->WriteProperties(stream, table, flags);
        if (hr == S_OK) KeepWrittenDocument(stream);
        return hr;
    }
    ComPtr<IQnPSTable> OneCellTable(const wchar_t* application, IQnPSColumnDef* column, const VARIANT& value,
                                    const wchar_t* id = L"R1") {
        auto table = MakeTable(application);
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column));
        AddRow(table.get(), id, {{column, &value}});
        return table;
    }
    ComPtr<IQnPSTable> TitleTable(const wchar_t* title, const wchar_t* application = L"Drafting",
                                  qnpsPropertyType type = qnpsPropType_String, const wchar_t* id = L"R1") {
        return OneCellTable(application, MakeColumn(L"Title", type).get(), VariantOf(title).get(), id);
    }
    // "DispName,TYPE,Direction,order,hidden|shown", type and direction as a document spells them.
    std::wstring ColumnText(IQnPSTable* table, const wchar_t* name) {
        ComPtr<IQnPSColumnDef> column;
        if (table) Definitions(table)->get_ColumnDef(Bstr(name).get(), column.put());
        if (!column) return L"<no column>";
        UniqueBstr dispName;
        qnpsPropertyType type = qnpsPropType_Unknown;
        qnpsPropertyDirection direction{};
        long order = 0;
        VARIANT_BOOL hidden = 1;
        const bool read = column->get_DispName(dispName.put()) == S_OK && column->get_PropType(&type) == S_OK &&
                          column->get_Direction(&direction) == S_OK && column->get_Order(&order) == S_OK &&
                          column->get_Hidden(&hidden) == S_OK;
        const wchar_t* types[] = {L"?", L"STRING", L"INT", L"DATE", L"DOUBLE", L"BOOL"};
        const wchar_t* directions[] = {L"Any", L"ToDocument", L"FromDocument", L"?"};
        return Text(dispName.get()) + L"," + types[type >= -1 && type <= 4 ? type + 1 : 0] + L"," +
               directions[direction >= 0 && direction <= 2 ? direction : 3] + L"," + std::to_wstring(order) +
               (hidden == VARIANT_TRUE ? L",hidden" : hidden == VARIANT_FALSE ? L",shown" : L",?") + (read ? L"" : L",failed");
    }
    // "I4 12", "R8 0.5", "EMPTY".
    std::wstring CellText(IQnPSTable* table, const wchar_t* rowId, const wchar_t* column) {
        ComPtr<IQnPSProperty> cell;
        UniqueVariant value, text;
        if (table) table->get_Property(Bstr(rowId).get(), Bstr(column).get(), cell.put());
        if (!cell || cell->get_Value(value.put()) != S_OK) return L"<no cell>";
        const VARTYPE vt = value.type();
        if (vt == VT_EMPTY) return L"EMPTY";
        ::VariantChangeTypeEx(text.put(), &value.get(), LOCALE_INVARIANT, 0, VT_BSTR);
        const wchar_t* type = vt == VT_I2 ? L"I2 " : vt == VT_I4 ? L"I4 " : vt == VT_R8 ? L"R8 " : vt == VT_BSTR ? L"BSTR " : L"? ";
        return type + Text(text.get().bstrVal);
    }
    // Each identifier in brackets, so an empty one shows.
    std::wstring RowIds(IQnPSTable* table) {
        std::wstring ids;
        auto rows = Rows(table);
        for (long i = 0, count = CountOf(rows.get()); i < count; ++i) {
            UniqueBstr id;
            if (auto row = ItemOf(rows.get(), i).try_query<IQnPSRow>()) row->get_RowID(id.put());
            ids += L"[" + Text(id.get()) + L"]";
        }
        return ids;
    }

    CompoundFile file_;
};

}  // namespace qnps_test
