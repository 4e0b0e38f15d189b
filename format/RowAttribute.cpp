#include "format/RowAttribute.h"

#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "format/PropertyStorageFormat.h"
#include "format/ValueText.h"

namespace format {
namespace {

bool TakeText(com::UniqueVariant& value, com::UniqueBstr& text) {
    if (value.type() == VT_NULL || value.type() == VT_EMPTY) return false;
    text = value.type() == VT_BSTR ? value.TakeText() : com::CopyText(L"");
    return true;
}

}  // namespace

bool ReadRowAttribute(IXMLDOMElement* row, BSTR name, com::UniqueBstr& text) {
    {
        com::UniqueVariant value;
        if (row->getAttribute(name, value.put()) == S_OK && TakeText(value, text)) return true;
    }
    com::ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (FAILED(row->get_attributes(attributes.put())) || !attributes) return false;
    // A walk by nextNode: indexing the map walks it from the start for every item under some parsers.
    attributes->reset();
    for (com::ComPtr<IXMLDOMNode> attribute; attributes->nextNode(attribute.put()) == S_OK && attribute;) {
        com::UniqueBstr attributeName;
        if (FAILED(attribute->get_nodeName(attributeName.put())) || com::IsEmptyBstr(attributeName.get())) continue;
        if (!com::NamesEqual(attributeName.get(), name) || com::NamesEqual(attributeName.get(), kRowId)) continue;
        com::UniqueVariant value;
        if (SUCCEEDED(attribute->get_nodeValue(value.put())) && TakeText(value, text)) return true;
        text = com::CopyText(L"");
        return true;
    }
    return false;
}

com::UniqueVariant ReadCellValue(IXMLDOMElement* row, const model::CQnPSColumnDef& column) {
    com::UniqueBstr text;
    if (!ReadRowAttribute(row, column.Name(), text)) return {};
    return DecodeValue(std::move(text), column.PropType());
}

long AttributeCount(IXMLDOMElement* element) {
    com::ComPtr<IXMLDOMNamedNodeMap> attributes;
    long count = 0;
    if (SUCCEEDED(element->get_attributes(attributes.put())) && attributes) attributes->get_length(&count);
    return count;
}

}  // namespace format
