#pragma once

#include <memory>

#include "com/ComPtr.h"
#include "xml/Msxml.h"

namespace xml {

// A saved position of a cursor: the element it addressed, chained to the position below it.
struct CStackItemBase {
    virtual ~CStackItemBase() = default;

    com::ComPtr<IXMLDOMElement> element;
    std::unique_ptr<CStackItemBase> next;
};

}  // namespace xml
