#pragma once

#include <memory>
#include <string>
#include <vector>

#include "com/Bstr.h"
#include "xml/CStackBase.h"
#include "xml/WkXMLFile.h"

namespace xml {

// A read cursor over a document: loads it, positions on a section, walks the section's child
// elements one by one and reads their attributes as text. Operations answer 1 for success and 0
// when their preconditions fail.
class CXmlReaderBase : public CStackBase {
public:
    CXmlReaderBase() = default;
    ~CXmlReaderBase() override { Close(); }

    int OpenDocument(const VARIANT* source);
    // Reads a document that another object has loaded and keeps; nothing is loaded again.
    int AttachDocument(IXMLDOMDocument* document);

    // The root's name and the values of those of `attributeNames` (null-terminated) that exist,
    // in list order: a missing attribute adds nothing.
    int GetRootInfo(const wchar_t* const* attributeNames, std::vector<std::wstring>* values,
                    std::wstring* rootName);
    // Positions on the root's child of that name, or else on the first element of that name
    // anywhere below the root.
    int OpenSection(const wchar_t* name);
    // The next child element of the current level; text, white space and comments are skipped.
    int NextElement(BSTR* nameOut);
    // The current element's attribute; `out` (optional) receives its text.
    int GetAttribute(BSTR name, BSTR* out);
    void Close() noexcept;

    // The element NextElement stands on, or null.
    IXMLDOMElement* CurrentElement() const noexcept { return current_.get(); }

private:
    int Opened(IXMLDOMElement* root);
    static com::ComPtr<IXMLDOMNode> DirectChild(IXMLDOMNode* parent, const wchar_t* name);
    static com::ComPtr<IXMLDOMNode> FirstDescendant(IXMLDOMNode* parent, const wchar_t* name);
    void EnterChildrenOf(IXMLDOMNode* parent);

    int open_ = 0;
    std::unique_ptr<WkXMLFile> document_;
    com::ComPtr<IXMLDOMElement> root_;
    com::ComPtr<IXMLDOMNode> section_;
    // The level being walked, and the child the walk looks at next. A sibling cursor: indexing a
    // child list walks it from the start for every item under some parsers.
    com::ComPtr<IXMLDOMNode> level_;
    com::ComPtr<IXMLDOMNode> nextChild_;
};

}  // namespace xml
