#include "xml/PropertyDocumentWriter.h"

#include <cwchar>
#include <memory>
#include <new>

#include "com/UniqueVariant.h"
#include "xml/CXmlReaderBase.h"
#include "xml/PropertyDocumentReader.h"
#include "values/VariantArray.h"
#include "xml/PropertyStorageFormat.h"
#include "xml/StreamReplacement.h"
#include "xml/ValueText.h"

namespace xml {
namespace {

using model::CQnPSColumnDef;
using model::CQnPSProperty;
using model::CQnPSRow;

// A VARIANT that lends a string to a call without owning it.
VARIANT BorrowedText(BSTR text) noexcept {
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = text;
    return value;
}

const wchar_t* TypeText(qnpsPropertyType type) noexcept {
    switch (type) {
        case qnpsPropType_Int: return format::kTypeInt;
        case qnpsPropType_Date: return format::kTypeDate;
        case qnpsPropType_Double: return format::kTypeDouble;
        case qnpsPropType_Bool: return format::kTypeBool;
        default: return nullptr;
    }
}

const wchar_t* DirectionText(qnpsPropertyDirection direction) noexcept {
    switch (direction) {
        case qnpsPropDirection_ToDocument: return format::kToDocument;
        case qnpsPropDirection_FromDocument: return format::kFromDocument;
        default: return nullptr;
    }
}

}  // namespace

PropertyDocumentWriter::PropertyDocumentWriter(model::CQnPSTable& table, long flags)
    : table_(table),
      flags_(flags),
      rowElement_(com::CopyText(format::kRow)),
      rowId_(com::CopyText(format::kRowId)),
      dispName_(com::CopyText(format::kDispName)),
      direction_(com::CopyText(format::kDirection)),
      type_(com::CopyText(format::kType)),
      hidden_(com::CopyText(format::kHidden)),
      order_(com::CopyText(format::kOrder)),
      emptyText_(com::CopyText(L"")) {}

HRESULT PropertyDocumentWriter::Write(IStream* stream, ULONGLONG streamSize) {
    // The old bytes are read whatever the flags: they are what a failed write puts back.
    std::vector<BYTE> oldBytes;
    try {
        oldBytes = ReadWholeStream(stream, streamSize);
    } catch (const com::ComError& error) {
        if (error.Code() == E_OUTOFMEMORY) throw;
        ThrowWriteError(L"The stream's content could not be read", error.Code(), L"; it was not changed.");
    }
    std::vector<BYTE> newBytes;
    try {
        const HRESULT begun = oldBytes.empty() ? BeginNewDocument() : BeginExistingDocument(oldBytes);
        if (begun != S_OK) return begun;
        if (!writer_.SelectSection(format::kColumnDefs)) return QNPS_E_WRITEXMLERROR;
        WriteColumns();
        writer_.CloseElement();
        if (!writer_.SelectSection(format::kProperties)) return QNPS_E_WRITEXMLERROR;
        WriteRows();
        writer_.CloseElement();
        newBytes = writer_.SaveToBytes();
    } catch (const com::ComError& error) {
        // A value that does not convert to its column's type, or a parser that refuses a step: the
        // document is only in memory, so the stream is untouched. Memory is another matter.
        if (error.Code() == E_OUTOFMEMORY) throw;
        return QNPS_E_WRITEXMLERROR;
    }
    // The parsed and the built document are done with; their memory is better spent on the copy.
    oldTable_.reset();
    writer_.Close();

    StreamReplacement replacement(stream, std::move(oldBytes), std::move(newBytes));
    const StreamReplacement::Outcome outcome = replacement.Run();
    if (outcome == StreamReplacement::Outcome::kReplaced || outcome == StreamReplacement::Outcome::kReplacedPadded) {
        return S_OK;
    }
    std::shared_ptr<const std::wstring> description;
    try {
        description = std::make_shared<const std::wstring>(replacement.Describe());
    } catch (const std::bad_alloc&) {
        // The failure itself is what the caller must learn; its wording can go.
    }
    throw com::ComError(QNPS_E_WRITEXMLERROR, std::move(description));
}

[[noreturn]] void PropertyDocumentWriter::ThrowWriteError(const wchar_t* what, HRESULT code, const wchar_t* after) {
    wchar_t text[256];
    std::swprintf(text, 256, L"%ls: IStream answered 0x%08lX%ls", what, static_cast<unsigned long>(code), after);
    throw com::ComError(QNPS_E_WRITEXMLERROR, std::make_shared<const std::wstring>(text));
}

HRESULT PropertyDocumentWriter::BeginNewDocument() {
    if (!writer_.CreateDocument(format::kRoot)) return QNPS_E_WRITEXMLERROR;
    const com::UniqueBstr version = com::CopyText(format::kVersion);
    writer_.AddAttribute(version.get(), format::kCurrentVersion);
    if (!com::IsEmptyBstr(table_.Application())) {
        const com::UniqueBstr application = com::CopyText(format::kApplication);
        writer_.AddAttribute(application.get(), table_.Application());
    }
    writer_.CloseElement();
    return S_OK;
}

HRESULT PropertyDocumentWriter::BeginExistingDocument(const std::vector<BYTE>& oldBytes) {
    {
        values::VariantArray source;
        com::ThrowIfFailed(source.Create(VT_UI1, static_cast<ULONG>(oldBytes.size()), oldBytes.data()));
        // Also with qnpsOverwrite: content that is not XML cannot be written over.
        if (!writer_.OpenDocument(&source.get())) return QNPS_E_WRITEXMLERROR;
    }
    if (!(flags_ & qnpsOverwrite)) {
        // The old table comes from the very document the writer loaded, from the stream's start
        // whatever its position: the write replaces the whole content, so the merge must see it.
        CXmlReaderBase reader;
        reader.AttachDocument(writer_.Document());
        ReadOldTable(reader);
        const BSTR newApplication = table_.Application();
        const BSTR oldApplication = oldTable_ ? oldTable_->Application() : nullptr;
        if (!com::IsEmptyBstr(newApplication) && !com::IsEmptyBstr(oldApplication) &&
            !com::NamesEqual(newApplication, oldApplication)) {
            return QNPS_E_WRONGAPPLICATION;
        }
    }
    // The root keeps its attributes (the version is not rewritten) and any other children.
    writer_.RemoveSections(format::kColumnDefs);
    writer_.RemoveSections(format::kProperties);
    return S_OK;
}

void PropertyDocumentWriter::ReadOldTable(CXmlReaderBase& reader) {
    // An old document that cannot be read is no error: there is just nothing to carry over.
    PropertyDocumentReader(reader).Read(oldTable_);
    if (oldTable_) IndexOldTable();
}

void PropertyDocumentWriter::IndexOldTable() {
    // The reader gives every old row one cell per named column, in column order, so the cell of
    // a column sits at the same index in every old row.
    const model::CQnPSColumnDefCollection* definitions = oldTable_->Definitions();
    for (size_t i = 0; definitions && i < definitions->ItemCount(); ++i) {
        CQnPSColumnDef* column = definitions->DefinitionAt(i);
        if (!column || com::IsEmptyBstr(column->Name())) continue;
        oldCellIndexByName_.emplace(com::FoldedName(column->Name()), static_cast<long>(oldColumns_.size()));
        oldColumns_.push_back(column);
    }
    // The first old row of an identifier wins, as a search from the top would find it.
    const model::CQnPSRowCollection* rows = oldTable_->RowCollection();
    for (size_t i = 0; rows && i < rows->ItemCount(); ++i) {
        CQnPSRow* row = rows->RowAt(i);
        if (row && !com::IsEmptyBstr(row->RowID())) oldRowsById_.emplace(com::FoldedName(row->RowID()), row);
    }
}

void PropertyDocumentWriter::WriteColumns() {
    const model::CQnPSColumnDefCollection* definitions = table_.Definitions();
    for (size_t i = 0; i < definitions->ItemCount(); ++i) {
        CQnPSColumnDef* column = definitions->DefinitionAt(i);
        if (!column || com::IsEmptyBstr(column->Name())) continue;
        // A name the parser refuses as an element name leaves the column out.
        if (!writer_.AddElement(nullptr, column->Name())) continue;

        if (oldTable_) {
            auto* record = new CColomnEl(std::wstring(column->Name(), com::BstrLength(column->Name())), column);
            mergeList_.AddTail(record);
            const std::wstring key = com::FoldedName(column->Name());
            recordsByName_.emplace(key, record);
            const auto oldCell = oldCellIndexByName_.find(key);
            mergeColumns_.push_back({record, oldCell == oldCellIndexByName_.end() ? -1 : oldCell->second});
        }

        if (com::IsEmptyBstr(column->DispName())) column->SetDispName(column->Name());
        writer_.AddAttribute(dispName_.get(), column->DispName());
        if (const wchar_t* direction = DirectionText(column->Direction())) {
            writer_.AddAttribute(direction_.get(), direction);
        }
        if (const wchar_t* type = TypeText(column->PropType())) writer_.AddAttribute(type_.get(), type);
        // Every type but Int, Date and Bool is written as text from here on, Double included: its
        // values in this document are decimal text under a "DOUBLE" column. Readers have always
        // seen it so.
        const qnpsPropertyType written = column->PropType();
        if (written != qnpsPropType_Int && written != qnpsPropType_Date && written != qnpsPropType_Bool) {
            column->SetPropType(qnpsPropType_String);
        }
        if (column->Hidden() != VARIANT_FALSE) writer_.AddAttribute(hidden_.get(), L"1");
        if (column->Order() >= 0) {
            wchar_t order[16];
            std::swprintf(order, 16, L"%ld", column->Order());
            writer_.AddAttribute(order_.get(), order);
        }
    }
}

void PropertyDocumentWriter::WriteRows() {
    const model::CQnPSRowCollection* rows = table_.RowCollection();
    const bool writeEveryDirection = (flags_ & qnpsSkipDirection) != 0;
    for (size_t i = 0; i < rows->ItemCount(); ++i) {
        const long rowIndex = static_cast<long>(i);
        const CQnPSRow* row = rows->RowAt(i);
        if (!row) continue;
        if (!writer_.AddElement(nullptr, rowElement_.get())) continue;
        // A row without identifier is written with an empty one; the parser wants a real string.
        writer_.AddAttribute(rowId_.get(), BorrowedText(row->RowID() ? row->RowID() : emptyText_.get()));

        for (size_t j = 0; j < row->ItemCount(); ++j) {
            const CQnPSProperty* cell = row->PropertyAt(j);
            const CQnPSColumnDef* column = cell ? cell->Definition() : nullptr;
            if (!column) continue;
            if (!writeEveryDirection && column->Direction() == qnpsPropDirection_ToDocument) continue;
            WriteValue(cell->Value(), column, *column);
            if (oldTable_) {
                if (CColomnEl* record = RecordFor(*column)) record->position = rowIndex;
            }
        }
        if (oldTable_ && !mergeList_.IsEmpty()) CarryOver(*row, rowIndex);
    }
}

CColomnEl* PropertyDocumentWriter::RecordFor(const CQnPSColumnDef& column) {
    // A definition's record is the first one of its name; asked once per cell, looked up once per
    // definition.
    const auto [cached, added] = recordByColumn_.try_emplace(&column, nullptr);
    if (added) {
        const auto record = recordsByName_.find(com::FoldedName(column.Name()));
        if (record != recordsByName_.end()) cached->second = record->second;
    }
    return cached->second;
}

const CQnPSProperty* PropertyDocumentWriter::OldCell(const CQnPSRow& oldRow, const MergeColumn& column) const {
    if (column.oldCellIndex < 0) return nullptr;
    const size_t index = static_cast<size_t>(column.oldCellIndex);
    if (index < oldRow.ItemCount()) {
        const CQnPSProperty* cell = oldRow.PropertyAt(index);
        if (cell && cell->Definition() == oldColumns_[index]) return cell;
    }
    return oldRow.FindProperty(column.record->name.c_str());
}

void PropertyDocumentWriter::CarryOver(const CQnPSRow& row, long rowIndex) {
    const CQnPSRow* oldRow = nullptr;
    bool searched = false;
    for (const MergeColumn& column : mergeColumns_) {
        CColomnEl& record = *column.record;
        if (record.position != rowIndex && record.column) {
            if (!searched) {
                const auto found = com::IsEmptyBstr(row.RowID()) ? oldRowsById_.end()
                                                                 : oldRowsById_.find(com::FoldedName(row.RowID()));
                oldRow = found == oldRowsById_.end() ? nullptr : found->second;
                searched = true;
            }
            const CQnPSProperty* oldCell = oldRow ? OldCell(*oldRow, column) : nullptr;
            if (oldCell && oldCell->Definition()) CarryValue(*oldCell, *record.column);
        }
        record.position = -1;
    }
}

void PropertyDocumentWriter::CarryValue(const CQnPSProperty& oldCell, const CQnPSColumnDef& gate) {
    try {
        WriteValue(oldCell.Value(), &gate, *oldCell.Definition());
    } catch (const com::ComError& error) {
        // An old value that its own column's encoding no longer takes (a date beyond the range of
        // automation dates) is left behind; the rest of the write goes on.
        if (error.Code() == E_OUTOFMEMORY) throw;
    }
}

void PropertyDocumentWriter::WriteValue(const VARIANT& value, const CQnPSColumnDef* gate,
                                        const CQnPSColumnDef& encoding) {
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return;
    if (!gate || com::IsEmptyBstr(gate->Name())) return;
    const com::UniqueBstr text = EncodeValue(value, encoding.PropType());
    writer_.AddAttribute(encoding.Name(), BorrowedText(text.get()));
}

}  // namespace xml
