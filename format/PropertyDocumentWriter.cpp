#include "format/PropertyDocumentWriter.h"

#include <cwchar>
#include <memory>
#include <new>

#include "com/UniqueVariant.h"
#include "xml/CXmlReaderBase.h"
#include "format/PropertyDocumentReader.h"
#include "values/VariantArray.h"
#include "format/PropertyStorageFormat.h"
#include "format/StreamReplacement.h"
#include "format/ValueText.h"

namespace format {
namespace {

using model::CQnPSColumnDef;
using model::CQnPSProperty;
using model::CQnPSRow;

const wchar_t* TypeText(qnpsPropertyType type) noexcept {
    switch (type) {
        case qnpsPropType_Int: return kTypeInt;
        case qnpsPropType_Date: return kTypeDate;
        case qnpsPropType_Double: return kTypeDouble;
        case qnpsPropType_Bool: return kTypeBool;
        default: return nullptr;
    }
}

const wchar_t* DirectionText(qnpsPropertyDirection direction) noexcept {
    switch (direction) {
        case qnpsPropDirection_ToDocument: return kToDocument;
        case qnpsPropDirection_FromDocument: return kFromDocument;
        default: return nullptr;
    }
}

}  // namespace

PropertyDocumentWriter::PropertyDocumentWriter(model::CQnPSTable& table, long flags)
    : table_(table),
      flags_(flags),
      rowElement_(com::CopyText(kRow)),
      rowId_(com::CopyText(kRowId)),
      dispName_(com::CopyText(kDispName)),
      direction_(com::CopyText(kDirection)),
      type_(com::CopyText(kType)),
      hidden_(com::CopyText(kHidden)),
      order_(com::CopyText(kOrder)),
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
        if (!writer_.SelectSection(kColumnDefs)) return QNPS_E_WRITEXMLERROR;
        WriteColumns();
        writer_.CloseElement();
        if (!writer_.SelectSection(kProperties)) return QNPS_E_WRITEXMLERROR;
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
    old_.reset();
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
    if (!writer_.CreateDocument(kRoot)) return QNPS_E_WRITEXMLERROR;
    const com::UniqueBstr version = com::CopyText(kVersion);
    writer_.AddAttribute(version.get(), kCurrentVersion);
    if (!com::IsEmptyBstr(table_.Application())) {
        const com::UniqueBstr application = com::CopyText(kApplication);
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
        // An old document that cannot be read is no error: there is just nothing to carry over.
        xml::CXmlReaderBase reader;
        reader.AttachDocument(writer_.Document());
        old_ = OldDocument::Read(reader);
        const BSTR newApplication = table_.Application();
        const BSTR oldApplication = old_ ? old_->Application() : nullptr;
        if (!com::IsEmptyBstr(newApplication) && !com::IsEmptyBstr(oldApplication) &&
            !com::NamesEqual(newApplication, oldApplication)) {
            return QNPS_E_WRONGAPPLICATION;
        }
    }
    // The root keeps its attributes (the version is not rewritten) and any other children.
    writer_.RemoveSections(kColumnDefs);
    writer_.RemoveSections(kProperties);
    return S_OK;
}

void PropertyDocumentWriter::WriteColumns() {
    const model::CQnPSColumnDefCollection* definitions = table_.Definitions();
    for (size_t i = 0; i < definitions->ItemCount(); ++i) {
        CQnPSColumnDef* column = definitions->DefinitionAt(i);
        if (!column || com::IsEmptyBstr(column->Name())) continue;
        // A name the parser refuses as an element name leaves the column out.
        if (!writer_.AddElement(nullptr, column->Name())) continue;

        if (old_) {
            recordsByName_.emplace(com::FoldedName(column->Name()), static_cast<long>(mergeColumns_.size()));
            mergeColumns_.push_back({column, -1, old_->ColumnSlot(column->Name())});
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
        writer_.AddAttribute(rowId_.get(), com::BorrowedText(row->RowID() ? row->RowID() : emptyText_.get()));

        for (size_t j = 0; j < row->ItemCount(); ++j) {
            const CQnPSProperty* cell = row->PropertyAt(j);
            const CQnPSColumnDef* column = cell ? cell->Definition() : nullptr;
            if (!column) continue;
            if (!writeEveryDirection && column->Direction() == qnpsPropDirection_ToDocument) continue;
            WriteValue(cell->Value(), column, *column);
            if (old_) {
                if (CColomnEl* record = RecordFor(*column)) record->position = rowIndex;
            }
        }
        if (old_ && !mergeColumns_.empty()) CarryOver(*row, rowIndex);
    }
}

CColomnEl* PropertyDocumentWriter::RecordFor(const CQnPSColumnDef& column) {
    // A definition's record is the first one of its name; asked once per cell, looked up once per
    // definition.
    const auto [cached, added] = recordByColumn_.try_emplace(&column, -1);
    if (added) {
        const auto record = recordsByName_.find(com::FoldedName(column.Name()));
        if (record != recordsByName_.end()) cached->second = record->second;
    }
    return cached->second < 0 ? nullptr : &mergeColumns_[static_cast<size_t>(cached->second)];
}

void PropertyDocumentWriter::CarryOver(const CQnPSRow& row, long rowIndex) {
    IXMLDOMElement* oldRow = nullptr;
    bool searched = false;
    for (CColomnEl& record : mergeColumns_) {
        if (record.position != rowIndex && record.column) {
            // The old row is looked for once a row, and only when a column needs it.
            if (!searched) {
                oldRow = old_->FindRow(row.RowID());
                searched = true;
            }
            if (oldRow && record.oldSlot >= 0) CarryValue(oldRow, record);
        }
        record.position = -1;
    }
}

void PropertyDocumentWriter::CarryValue(IXMLDOMElement* oldRow, const CColomnEl& record) {
    try {
        const com::UniqueVariant value = old_->Value(oldRow, record.oldSlot);
        WriteValue(value.get(), record.column, old_->Column(record.oldSlot));
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
    writer_.AddAttribute(encoding.Name(), com::BorrowedText(text.get()));
}

}  // namespace format
