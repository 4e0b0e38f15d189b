#pragma once

#include <memory>
#include <vector>

#include "com/UniqueVariant.h"
#include "xml/CStackBase.h"
#include "xml/WkXMLFile.h"

namespace xml {

// A write cursor: builds a document element by element in memory and hands it over as the bytes
// the parser saves, for the caller to put into a stream in one piece. Operations answer 1 for
// success and 0 when their preconditions fail.
class CXmlWriterBase : public CStackBase {
public:
    CXmlWriterBase() = default;
    ~CXmlWriterBase() override;

    // A new document with the XML declaration and a root element named `rootName`.
    int CreateDocument(const wchar_t* rootName);
    // The existing document in `source` (its bytes as VT_ARRAY | VT_UI1, or anything else the
    // parser loads); its root becomes current.
    int OpenDocument(const VARIANT* source);
    // Removes the root's direct children of that name, as the platform's element list finds them.
    void RemoveSections(const wchar_t* name);
    // Finds or creates the root's child `name` and makes it the parent of new elements.
    int SelectSection(const wchar_t* name);
    // Appends an element under `parent` (the section when null); it becomes current.
    int AddElement(IXMLDOMNode* parent, BSTR name);
    // Ends work on the current element; attributes then go to the section.
    void CloseElement() noexcept { current_.reset(); }
    // Sets (or replaces) an attribute of the current element.
    int AddAttribute(BSTR name, const VARIANT& value);
    int AddAttribute(BSTR name, const wchar_t* value);
    // The document as the parser saves it: its declaration's encoding, no byte-order mark for UTF-8.
    // A failing save is thrown.
    std::vector<BYTE> SaveToBytes();
    // Leaves the open flag set, as well as the current element: the caller ends that itself.
    void Close();

    IXMLDOMDocument* Document() const noexcept { return document_.get(); }

private:
    int Opened();

    int open_ = 0;
    std::unique_ptr<WkXMLFile> file_;
    com::ComPtr<IXMLDOMDocument> document_;
    com::ComPtr<IXMLDOMNode> insertionParent_;
};

}  // namespace xml
