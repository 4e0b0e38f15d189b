#pragma once

#include "com/ComPtr.h"
#include "xml/Msxml.h"

namespace xml {

// What the reader and the writer share: the element that attribute operations address. The name
// is older than the code: there is no stack, only the one current element.
class CStackBase {
public:
    CStackBase() = default;
    virtual ~CStackBase() = default;
    CStackBase(const CStackBase&) = delete;
    CStackBase& operator=(const CStackBase&) = delete;

protected:
    com::ComPtr<IXMLDOMElement> current_;
};

}  // namespace xml
