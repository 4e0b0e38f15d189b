#pragma once

#include <algorithm>
#include <string>

#include "support/StreamSupport.h"

namespace qnps_test {

inline constexpr HRESULT kWriteXmlError = static_cast<HRESULT>(QNPS_E_WRITEXMLERROR);
inline constexpr HRESULT kWrongXmlFile = static_cast<HRESULT>(QNPS_E_WRONGXMLFILE);
inline constexpr HRESULT kEmptyCollection = static_cast<HRESULT>(QNPS_E_EMPTYCOLLECTION);
inline constexpr HRESULT kWrongApplication = static_cast<HRESULT>(QNPS_E_WRONGAPPLICATION);
inline constexpr HRESULT kStreamIsReadOnly = static_cast<HRESULT>(QNPS_E_STREAMISREADONLY);

inline constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// The document as text without line ends: the parser ends lines as its platform does (CR LF on
// Windows, LF under Wine), and the library never writes a line end of its own.
inline std::string DocumentText(IStream* stream) {
    std::string text = StreamBytes(stream);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }),
               text.end());
    return text;
}

// A property storage document of the given version and root attributes around `content`.
inline std::string Document(const std::string& content,
                            const std::string& rootAttributes = " Version=\"1.01\" Application=\"Drafting\"") {
    return std::string(kDeclaration) + "<PropertyStorage" + rootAttributes + ">" + content + "</PropertyStorage>";
}

// A stream that hands hosts memory of their own: its mode reads as 0, so it can be read but not
// written through the library.
inline ComPtr<IStream> HGlobalStream(const std::string& bytes) {
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, ::CreateStreamOnHGlobal(nullptr, TRUE, stream.put()));
    if (stream && !bytes.empty()) SetStreamBytes(stream.get(), bytes);
    return stream;
}

inline UniqueVariant DateOf(double value) {
    UniqueVariant result;
    result.get().vt = VT_DATE;
    result.get().date = value;
    return result;
}
inline UniqueVariant BoolOf(bool value) {
    UniqueVariant result;
    result.get().vt = VT_BOOL;
    result.get().boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}
inline UniqueVariant NullValue() {
    UniqueVariant result;
    result.get().vt = VT_NULL;
    return result;
}

class PersistenceTest : public ComTest {
protected:
    ComPtr<IStream> StreamWith(CompoundFile& file, const std::string& bytes) {
        auto stream = file.CreateStream();
        SetStreamBytes(stream.get(), bytes);
        return stream;
    }

    // Reads from the start, as hosts do after rewinding.
    HRESULT ReadResult(IStream* stream, ComPtr<IQnPSTable>& table) {
        Rewind(stream);
        return storage_->ReadProperties(stream, table.put());
    }
    ComPtr<IQnPSTable> Read(IStream* stream) {
        ComPtr<IQnPSTable> table;
        EXPECT_EQ(S_OK, ReadResult(stream, table));
        EXPECT_TRUE(table);
        return table;
    }
    // Writes from the start of the stream, where the old document to merge with begins.
    HRESULT Write(IStream* stream, IQnPSTable* table, long flags = qnpsWriteNormal) {
        Rewind(stream);
        return storage_->WriteProperties(stream, table, flags);
    }

    ComPtr<IQnPSColumnDef> ColumnOf(IQnPSTable* table, const wchar_t* name) {
        ComPtr<IQnPSColumnDef> column;
        EXPECT_EQ(S_OK, Definitions(table)->get_ColumnDef(Bstr(name).get(), column.put()));
        return column;
    }
    UniqueVariant ValueAt(IQnPSTable* table, const wchar_t* rowId, const wchar_t* column) {
        UniqueVariant value;
        ComPtr<IQnPSProperty> cell;
        EXPECT_EQ(S_OK, table->get_Property(Bstr(rowId).get(), Bstr(column).get(), cell.put()));
        if (cell) {
            EXPECT_EQ(S_OK, cell->get_Value(value.put()));
        } else {
            ADD_FAILURE() << "no cell for row " << Text(Bstr(rowId).get()) << ", column " << Text(Bstr(column).get());
        }
        return value;
    }
    std::wstring TextAt(IQnPSTable* table, const wchar_t* rowId, const wchar_t* column) {
        const auto value = ValueAt(table, rowId, column);
        EXPECT_EQ(VT_BSTR, value.type());
        return value.type() == VT_BSTR ? Text(value.get().bstrVal) : std::wstring();
    }
    long ColumnCount(IQnPSTable* table) {
        long count = -1;
        EXPECT_EQ(S_OK, Definitions(table)->get_Count(&count));
        return count;
    }
    // The identifiers of the table's rows, comma-separated, in row order.
    std::wstring RowIds(IQnPSTable* table) {
        auto rows = Rows(table);
        long count = 0;
        EXPECT_EQ(S_OK, rows->get_Count(&count));
        std::wstring ids;
        for (long i = 0; i < count; ++i) {
            ComPtr<IQnPSObject> item;
            EXPECT_EQ(S_OK, rows->get_Item(i, item.put()));
            UniqueBstr id;
            if (auto row = item.try_query<IQnPSRow>()) row->get_RowID(id.put());
            ids += (i ? L"," : L"") + Text(id.get());
        }
        return ids;
    }
    std::wstring ApplicationOf(IQnPSTable* table) {
        UniqueBstr name;
        EXPECT_EQ(S_OK, table->get_Application(name.put()));
        return Text(name.get());
    }
};

}  // namespace qnps_test
