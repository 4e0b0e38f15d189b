#pragma once

#include "com/Bstr.h"
#include "com/UniqueVariant.h"
#include "model/CQnPSColumnDef.h"
#include "xml/Msxml.h"

namespace format {

// A row's value for a column is the row's attribute of the column's very name or, failing that,
// the first attribute whose name equals it without regard to case (never the identifier's): names
// are compared without case everywhere else, and documents were written whose values carry an
// older spelling of their column's name. False when the row has neither; a value that is no text
// reads as the empty text.
bool ReadRowAttribute(IXMLDOMElement* row, BSTR name, com::UniqueBstr& text);

// The row's value of the column, by the rule above, decoded by the column's type: what a reader of
// the document sees in the row's cell. Empty when the row has no attribute for it.
com::UniqueVariant ReadCellValue(IXMLDOMElement* row, const model::CQnPSColumnDef& column);

// The number of attributes of the element, identifier included.
long AttributeCount(IXMLDOMElement* element);

}  // namespace format
