#include "format/PropertyDocumentReader.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <functional>
#include <string>
#include <vector>

#include "com/DispatchObject.h"
#include "format/PropertyStorageFormat.h"
#include "format/RowAttribute.h"
#include "format/ValueText.h"

namespace format {
namespace {

using model::CQnPSColumnDef;

}  // namespace

com::UniqueBstr PropertyDocumentReader::RootAttribute(const wchar_t* name) {
    const wchar_t* names[] = {name, nullptr};
    std::vector<std::wstring> values;
    reader_.GetRootInfo(names, &values, nullptr);
    return values.empty() ? com::UniqueBstr() : com::CopyText(values.front().c_str());
}

HRESULT PropertyDocumentReader::ReadRoot(com::UniqueBstr& application) {
    std::wstring rootName;
    if (!reader_.GetRootInfo(nullptr, nullptr, &rootName)) return QNPS_E_WRONGXMLFILE;
    const com::UniqueBstr version = RootAttribute(kVersion);
    application = RootAttribute(kApplication);
    if (!version || !format::IsReadableVersion(version.get())) return QNPS_E_WRONGXMLFILE;
    if (!com::NamesEqual(rootName.c_str(), kRoot)) return QNPS_E_WRONGXMLFILE;
    return S_OK;
}

HRESULT PropertyDocumentReader::Read(com::ComPtr<model::CQnPSTable>& table) {
    table.reset();
    com::UniqueBstr application;
    if (const HRESULT root = ReadRoot(application); root != S_OK) return root;
    auto definitions = ReadColumnDefinitions();
    if (!definitions) return QNPS_E_EMPTYCOLLECTION;
    auto rows = ReadRows(*definitions);
    if (!rows) return QNPS_E_EMPTYCOLLECTION;

    auto result = com::MakeObject<model::CQnPSTable>();
    if (application) result->SetApplication(application.get());
    result->SetCollections(definitions.get(), rows.get());
    table = std::move(result);
    return S_OK;
}

std::vector<CQnPSColumnDef*> PropertyDocumentReader::NamedColumns(const model::CQnPSColumnDefCollection& definitions) {
    std::vector<CQnPSColumnDef*> columns;
    for (size_t i = 0; i < definitions.ItemCount(); ++i) {
        CQnPSColumnDef* column = definitions.DefinitionAt(i);
        if (column && !com::IsEmptyBstr(column->Name())) columns.push_back(column);
    }
    return columns;
}

bool PropertyDocumentReader::ForEachRow(const std::function<void(BSTR rowId, IXMLDOMElement* row)>& visit) {
    if (!reader_.OpenSection(kProperties)) return false;
    const com::UniqueBstr rowIdName = com::CopyText(kRowId);
    com::UniqueBstr elementName;
    while (reader_.NextElement(elementName.put())) {
        if (!com::NamesEqual(elementName.get() ? elementName.get() : L"", kRow)) continue;
        com::UniqueBstr rowId;
        // A row without identifier is dropped.
        if (reader_.GetAttribute(rowIdName.get(), rowId.put())) visit(rowId.get(), reader_.CurrentElement());
    }
    return true;
}

com::ComPtr<model::CQnPSColumnDefCollection> PropertyDocumentReader::ReadColumnDefinitions() {
    if (!reader_.OpenSection(kColumnDefs)) return nullptr;
    auto definitions = com::MakeObject<model::CQnPSColumnDefCollection>();
    const com::UniqueBstr dispName = com::CopyText(kDispName);
    const com::UniqueBstr hidden = com::CopyText(kHidden);
    const com::UniqueBstr type = com::CopyText(kType);
    const com::UniqueBstr direction = com::CopyText(kDirection);
    const com::UniqueBstr order = com::CopyText(kOrder);

    com::UniqueBstr name;
    while (reader_.NextElement(name.put())) {
        if (com::IsEmptyBstr(name.get())) continue;
        auto column = com::MakeObject<CQnPSColumnDef>();
        column->SetName(name.get());
        com::UniqueBstr text;
        const bool hasDispName = reader_.GetAttribute(dispName.get(), text.put()) && !com::IsEmptyBstr(text.get());
        column->SetDispName(hasDispName ? text.get() : name.get());
        // Any text but exactly "0" hides the column, "false" included.
        if (reader_.GetAttribute(hidden.get(), text.put()) && std::wcscmp(text.get() ? text.get() : L"", L"0") != 0) {
            column->SetHidden(VARIANT_TRUE);
        }
        if (reader_.GetAttribute(type.get(), text.put())) {
            column->SetPropType(TypeFromText(text.get() ? text.get() : L"", column->PropType()));
        }
        if (reader_.GetAttribute(direction.get(), text.put())) {
            column->SetDirection(DirectionFromText(text.get() ? text.get() : L"", column->Direction()));
        }
        if (reader_.GetAttribute(order.get(), text.put())) {
            column->SetOrder(std::wcstol(text.get() ? text.get() : L"", nullptr, 10));
        }
        definitions->Append(column.get());
    }
    return definitions;
}

com::ComPtr<model::CQnPSRowCollection> PropertyDocumentReader::ReadRows(
    const model::CQnPSColumnDefCollection& definitions) {
    const std::vector<CQnPSColumnDef*> columns = NamedColumns(definitions);
    auto rows = com::MakeObject<model::CQnPSRowCollection>();
    const bool found = ForEachRow([&](BSTR rowId, IXMLDOMElement*) {
        // A row with no column to hold a cell is dropped.
        if (!columns.empty()) rows->Append(ReadRow(columns, rowId).get());
    });
    return found ? rows : nullptr;
}

com::ComPtr<model::CQnPSRow> PropertyDocumentReader::ReadRow(const std::vector<CQnPSColumnDef*>& columns,
                                                            BSTR rowId) {
    auto row = com::MakeObject<model::CQnPSRow>();
    row->SetRowID(rowId);
    row->ReserveItems(columns.size());
    // The values first: their texts are kept in the block of the row's cells, which is made to fit.
    values_.resize(columns.size());
    long found = 0;
    bool missed = false;
    for (size_t i = 0; i < columns.size(); ++i) {
        values_[i].reset();
        com::UniqueBstr text;
        if (reader_.GetAttribute(columns[i]->Name(), text.put())) {
            values_[i] = DecodeValue(std::move(text), columns[i]->PropType());
            ++found;
        } else {
            missed = true;
        }
    }
    // Attributes beyond the identifier and the columns found by their very names may be values
    // under another spelling of a column's name; only then are they looked for.
    IXMLDOMElement* element = reader_.CurrentElement();
    if (missed && element && AttributeCount(element) > found + 1) {
        for (size_t i = 0; i < columns.size(); ++i) {
            if (values_[i].type() == VT_EMPTY) values_[i] = ReadCellValue(element, *columns[i]);
        }
    }
    for (size_t first = 0; first < columns.size(); first += model::CellBlock::kMaxCells) {
        const size_t end = std::min(columns.size(), first + model::CellBlock::kMaxCells);
        size_t textBytes = 0;
        for (size_t i = first; i < end; ++i) {
            const VARIANT& value = values_[i].get();
            if (value.vt == VT_BSTR) textBytes += model::CellBlock::TextBytes(::SysStringByteLen(value.bstrVal));
        }
        const model::OpenCellBlock block(
            model::CellBlock::Create(static_cast<std::uint32_t>(end - first), textBytes));
        for (size_t i = first; i < end; ++i) {
            auto cell = model::CQnPSProperty::CreateIn(*block);
            cell->LinkDefinition(columns[i]);
            cell->SetValue(std::move(values_[i]));
            row->Append(cell.get());
        }
    }
    return row;
}

}  // namespace format
