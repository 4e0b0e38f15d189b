#pragma once

#include <memory>
#include <vector>

#include "com/UniqueVariant.h"
#include "xml/CStackBase.h"
#include "xml/WkXMLFile.h"

namespace xml {

// A write cursor: builds a document element by element in memory and saves it into a stream in
// one piece. Operations answer 1 for success and 0 when their preconditions fail.
class CXmlWriterBase : public CStackBase {
public:
    CXmlWriterBase() = default;
    ~CXmlWriterBase() override;

    // A new document with the XML declaration and a root element named `rootName`.
    int CreateDocument(const wchar_t* rootName);
    // The existing document held by `source` (a stream in a VARIANT); its root becomes current.
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
    bool IsOpen() const noexcept { return open_ != 0; }

private:
    int Opened();

    int open_ = 0;
    DWORD documentFlags_ = WkXMLFile::kPreserveWhiteSpace | WkXMLFile::kWriter;
    std::unique_ptr<WkXMLFile> file_;
    com::UniqueVariant unused_;
    com::ComPtr<IXMLDOMDocument> document_;
    com::ComPtr<IXMLDOMNode> insertionParent_;
};

}  // namespace xml
