#include "format/PropertyDocumentWriter.h"

#include <cwchar>
#include <memory>

#include "com/UniqueVariant.h"
#include "xml/CXmlReaderBase.h"
#include "values/VariantArray.h"
#include "format/PropertyStorageFormat.h"
#include "format/RowAttribute.h"
#include "format/ValueText.h"

namespace format {
namespace {

using model::CQnPSColumnDef;
using model::CQnPSProperty;
using model::CQnPSRow;

// The attribute as set on the element, not as a declaration's default would supply it.
bool SpecifiedAttribute(IXMLDOMElement* element, BSTR name, com::UniqueBstr& text) {
    com::ComPtr<IXMLDOMNamedNodeMap> attributes;
    com::ComPtr<IXMLDOMNode> attribute;
    if (FAILED(element->get_attributes(attributes.put())) || !attributes ||
        attributes->getNamedItem(name, attribute.put()) != S_OK || !attribute) {
        return false;
    }
    com::UniqueVariant value;
    attribute->get_nodeValue(value.put());
    text = value.type() == VT_BSTR ? value.TakeText() : com::CopyText(L"");
    return true;
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

HRESULT PropertyDocumentWriter::Render(const std::vector<BYTE>& oldBytes, std::vector<BYTE>& newBytes) {
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
        if (verifySaved_) VerifySaved(newBytes);
        return S_OK;
    } catch (const com::ComError& error) {
        // A value that does not convert to its column's type, or a parser that refuses a step: the
        // document is only in memory. A refusal that says why keeps its words.
        if (error.Description()) throw;
        return QNPS_E_WRITEXMLERROR;
    }
}

void PropertyDocumentWriter::ThrowUncarriable(const std::wstring& where, const UncarriableCharacter& found) {
    throw com::ComError(QNPS_E_WRITEXMLERROR,
                        std::make_shared<const std::wstring>(
                            where + L" holds " + DescribeUncarriable(found) +
                            L", which a property document cannot carry; the stream was not changed."));
}

HRESULT PropertyDocumentWriter::BeginNewDocument() {
    if (!writer_.CreateDocument(kRoot)) return QNPS_E_WRITEXMLERROR;
    const com::UniqueBstr version = com::CopyText(kVersion);
    writer_.AddAttribute(version.get(), kCurrentVersion);
    if (!com::IsEmptyBstr(table_.Application())) {
        RequireCarriable(table_.Application(), [] { return std::wstring(L"The application name"); });
        const com::UniqueBstr application = com::CopyText(kApplication);
        writer_.AddAttribute(application.get(), com::BorrowedText(table_.Application()));
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
    com::ComPtr<IXMLDOMDocumentType> declaration;
    verifySaved_ = SUCCEEDED(writer_.Document()->get_doctype(declaration.put())) && declaration;
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

void PropertyDocumentWriter::SetAttribute(BSTR name, const VARIANT& value) {
    writer_.AddAttribute(name, value);
    ++attributesOfElement_;
}

void PropertyDocumentWriter::EndElement() {
    if (verifySaved_) attributeCounts_.push_back(attributesOfElement_);
    attributesOfElement_ = 0;
}

void PropertyDocumentWriter::WriteColumns() {
    const model::CQnPSColumnDefCollection* definitions = table_.Definitions();
    for (size_t i = 0; i < definitions->ItemCount(); ++i) {
        CQnPSColumnDef* column = definitions->DefinitionAt(i);
        if (!column) continue;
        // Left out, with every value of its cells, unless written below.
        recordByColumn_.try_emplace(column, -1);
        const BSTR name = column->Name();
        if (!IsWritableColumnName(name, com::BstrLength(name))) continue;
        // A later column of a name already written would give the same values a second time; the
        // first one wins, as every lookup by name finds the first.
        std::wstring folded = com::FoldedName(name);
        if (recordsByName_.count(folded) != 0) continue;
        if (!writer_.AddElement(nullptr, name)) continue;
        const long index = static_cast<long>(columns_.size());
        recordsByName_.emplace(std::move(folded), index);
        recordByColumn_[column] = index;
        columns_.push_back({column, -1, old_ ? old_->ColumnSlot(name) : -1});

        if (com::IsEmptyBstr(column->DispName())) column->SetDispName(name);
        RequireCarriable(column->DispName(), [&] { return L"Column " + std::wstring(name) + L": the display name"; });
        SetAttribute(dispName_.get(), com::BorrowedText(column->DispName()));
        if (const wchar_t* direction = DirectionText(column->Direction())) {
            SetAttribute(direction_.get(), com::UniqueVariant::Text(direction).get());
        }
        if (const wchar_t* type = TypeText(column->PropType())) {
            SetAttribute(type_.get(), com::UniqueVariant::Text(type).get());
        }
        // Every type but Int, Date and Bool is written as text from here on, Double included: its
        // values in this document are decimal text under a "DOUBLE" column. Readers have always
        // seen it so.
        const qnpsPropertyType written = column->PropType();
        if (written != qnpsPropType_Int && written != qnpsPropType_Date && written != qnpsPropType_Bool) {
            column->SetPropType(qnpsPropType_String);
        }
        if (column->Hidden() != VARIANT_FALSE) SetAttribute(hidden_.get(), com::UniqueVariant::Text(L"1").get());
        if (column->Order() >= 0) {
            wchar_t order[16];
            std::swprintf(order, 16, L"%ld", column->Order());
            SetAttribute(order_.get(), com::UniqueVariant::Text(order).get());
        }
        EndElement();
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
        currentRowId_ = row->RowID();
        RequireCarriable(currentRowId_, [&] { return L"The identifier of row " + std::to_wstring(i + 1); });
        // A row without identifier is written with an empty one; the parser wants a real string.
        SetAttribute(rowId_.get(), com::BorrowedText(currentRowId_ ? currentRowId_ : emptyText_.get()));

        for (size_t j = 0; j < row->ItemCount(); ++j) {
            const CQnPSProperty* cell = row->PropertyAt(j);
            const CQnPSColumnDef* column = cell ? cell->Definition() : nullptr;
            if (!column) continue;
            if (!writeEveryDirection && column->Direction() == qnpsPropDirection_ToDocument) continue;
            // Rows mostly hold their cells in the same order: the record found for the cell at this
            // place in the row before is tried first.
            if (j >= recentRecords_.size()) recentRecords_.resize(j + 1, {nullptr, nullptr});
            auto& [recentColumn, recentRecord] = recentRecords_[j];
            if (recentColumn != column) recentColumn = column, recentRecord = RecordFor(*column);
            CColomnEl* record = recentRecord;
            // The first cell of a column in a row gives its value, as a lookup by name finds it.
            if (!record || record->position == rowIndex) continue;
            record->position = rowIndex;
            WriteValue(cell->Value(), *record, column->PropType());
        }
        if (old_) CarryOver(*row, rowIndex);
        EndElement();
    }
}

CColomnEl* PropertyDocumentWriter::RecordFor(const CQnPSColumnDef& column) {
    // The table's own definitions are known by now; a cell may point at a definition the table
    // does not hold, which gives the values of the written column of its name.
    const auto [cached, added] = recordByColumn_.try_emplace(&column, -1);
    if (added) {
        const auto record = recordsByName_.find(com::FoldedName(column.Name()));
        if (record != recordsByName_.end()) cached->second = record->second;
    }
    return cached->second < 0 ? nullptr : &columns_[static_cast<size_t>(cached->second)];
}

void PropertyDocumentWriter::CarryOver(const CQnPSRow& row, long rowIndex) {
    IXMLDOMElement* oldRow = nullptr;
    bool searched = false;
    for (CColomnEl& record : columns_) {
        if (record.position != rowIndex && record.oldSlot >= 0) {
            // The old row is looked for once a row, and only when a column needs it.
            if (!searched) {
                oldRow = old_->FindRow(row.RowID());
                searched = true;
            }
            if (oldRow) CarryValue(oldRow, record);
        }
        record.position = -1;
    }
}

void PropertyDocumentWriter::CarryValue(IXMLDOMElement* oldRow, const CColomnEl& record) {
    try {
        const com::UniqueVariant value = old_->Value(oldRow, record.oldSlot);
        // Under the name the table gives the column now, so that it reads back under it; in the
        // encoding the old document gave it.
        WriteValue(value.get(), record, old_->Column(record.oldSlot).PropType());
    } catch (const com::ComError& error) {
        // An old value that its own column's encoding no longer takes (a date beyond the range of
        // automation dates) is left behind; the rest of the write goes on.
        if (error.Description()) throw;
    }
}

void PropertyDocumentWriter::WriteValue(const VARIANT& value, const CColomnEl& record, qnpsPropertyType encoding) {
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return;
    const com::UniqueBstr text = EncodeValue(value, encoding);
    // Numbers, dates and booleans are written in digits; only a text can hold what XML cannot carry.
    if (encoding != qnpsPropType_Int && encoding != qnpsPropType_Date && encoding != qnpsPropType_Double &&
        encoding != qnpsPropType_Bool) {
        RequireCarriable(text.get(), [&] {
            return L"Row " + std::wstring(currentRowId_ ? currentRowId_ : L"") + L", column " +
                   std::wstring(record.column->Name()) + L": the value";
        });
    }
    SetAttribute(record.column->Name(), com::BorrowedText(text.get()));
}

void PropertyDocumentWriter::VerifySaved(const std::vector<BYTE>& bytes) {
    const auto refuse = [] {
        throw com::ComError(QNPS_E_WRITEXMLERROR,
                            std::make_shared<const std::wstring>(
                                L"The stream's document has a document type declaration, and what it declares "
                                L"changes the document as the parser saves it; the stream was not changed."));
    };
    values::VariantArray source;
    com::ThrowIfFailed(source.Create(VT_UI1, static_cast<ULONG>(bytes.size()), bytes.data()));
    xml::CXmlReaderBase saved, built;
    if (!saved.OpenDocument(&source.get()) || !built.AttachDocument(writer_.Document())) refuse();
    for (const wchar_t* name : {kVersion, kApplication}) {
        const wchar_t* names[] = {name, nullptr};
        std::vector<std::wstring> savedValue, builtValue;
        saved.GetRootInfo(names, &savedValue, nullptr);
        built.GetRootInfo(names, &builtValue, nullptr);
        if (savedValue != builtValue) refuse();
    }
    // Each element as built: its name, and every attribute a reader asks for with the text the
    // writer set or none (no default that a declaration adds, no value it normalises), and no
    // attribute beyond those set.
    std::vector<BSTR> columnAttributes = {dispName_.get(), direction_.get(), type_.get(), hidden_.get(), order_.get()};
    std::vector<BSTR> rowAttributes = {rowId_.get()};
    for (const CColomnEl& record : columns_) rowAttributes.push_back(record.column->Name());
    size_t element = 0;
    for (const wchar_t* section : {kColumnDefs, kProperties}) {
        if (!saved.OpenSection(section) || !built.OpenSection(section)) refuse();
        const std::vector<BSTR>& names = section == kColumnDefs ? columnAttributes : rowAttributes;
        com::UniqueBstr builtName, savedName;
        while (built.NextElement(builtName.put())) {
            if (!saved.NextElement(savedName.put()) || !builtName || !savedName ||
                std::wcscmp(builtName.get(), savedName.get()) != 0 || element >= attributeCounts_.size() ||
                static_cast<unsigned long>(AttributeCount(saved.CurrentElement())) != attributeCounts_[element++]) {
                refuse();
            }
            for (BSTR name : names) {
                com::UniqueBstr setText, savedText;
                const bool set = SpecifiedAttribute(built.CurrentElement(), name, setText);
                if (set != (saved.GetAttribute(name, savedText.put()) != 0) ||
                    com::BstrLength(setText.get()) != com::BstrLength(savedText.get()) ||
                    std::wmemcmp(setText.get() ? setText.get() : L"", savedText.get() ? savedText.get() : L"",
                                 com::BstrLength(setText.get())) != 0) {
                    refuse();
                }
            }
        }
        if (saved.NextElement(savedName.put())) refuse();
    }
}

}  // namespace format
