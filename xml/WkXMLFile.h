#pragma once

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "xml/Msxml.h"

namespace xml {

// One document of the platform XML parser: creates the document with the library's parser
// settings (version 6.0, else 3.0), writes the declaration and root of a new document, loads it,
// finds or creates the sections under the root, and turns a parse failure into the thread's error
// information.
class WkXMLFile {
public:
    enum Flag : DWORD {
        // Of the object: sections are found, never created.
        kReadOnly = 0x020,
        // Of CreateParser: the document gets the XML declaration.
        kNewDocument = 0x008,
    };

    explicit WkXMLFile(DWORD flags) noexcept : flags_(flags) {}
    WkXMLFile(const WkXMLFile&) = delete;
    WkXMLFile& operator=(const WkXMLFile&) = delete;

    // An empty source makes a new document with the declaration and `rootName` (S_FALSE on
    // success); any other source is loaded.
    HRESULT LoadSource(const VARIANT* source, const wchar_t* rootName);

    // The document element, fetched once; throws E_POINTER without a document.
    IXMLDOMElement* GetRoot();
    // The direct child of the root named `name`, created when missing unless the object is
    // read-only.
    com::ComPtr<IXMLDOMNode> GetSection(const wchar_t* name);
    HRESULT ReportParseError();

    IXMLDOMDocument* Document() const noexcept { return document_.get(); }

private:
    static HRESULT CreateDocumentObject(const CLSID& clsid, com::ComPtr<IXMLDOMDocument>& document);
    static com::UniqueVariant StreamContent(IStream* stream);
    HRESULT CreateParser(const wchar_t* rootName, DWORD flags);
    HRESULT Load(const VARIANT& source);
    com::ComPtr<IXMLDOMNode> FindOrCreateChild(IXMLDOMNode* parent, const wchar_t* name);

    com::ComPtr<IXMLDOMDocument> document_;
    com::ComPtr<IXMLDOMElement> root_;
    DWORD flags_;
};

}  // namespace xml
