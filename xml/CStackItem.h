#pragma once

#include "xml/CStackItemBase.h"

namespace xml {

// A saved reader level: besides the element, the level being walked and the child the walk would
// look at next.
struct CStackItem : CStackItemBase {
    com::ComPtr<IXMLDOMNode> level;
    com::ComPtr<IXMLDOMNode> nextChild;
};

}  // namespace xml
