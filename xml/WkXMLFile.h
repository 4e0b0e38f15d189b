#pragma once

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "xml/Msxml.h"

namespace xml {

// One document of the platform XML parser: chooses the parser version, creates the document with
// the library's parser settings, writes the declaration and root of a new document, loads and
// saves it, finds or creates the sections under the root, and turns a parse failure into the
// thread's error information.
class WkXMLFile {
public:
    enum Flag : DWORD {
        kAsync = 0x001,
        kShowParseError = 0x002,
        kPreserveWhiteSpace = 0x004,
        kNewDocument = 0x008,
        kWriter = 0x010,
        kReadOnly = 0x020,
        kFileLoad = 0x080,
        kVersionFromSettings = 0x200,
        kUtf16Declaration = 0x400,
        kKeepParserSettings = 0x800,
    };

    explicit WkXMLFile(DWORD flags) noexcept : flags_(flags) {}
    virtual ~WkXMLFile() = default;
    WkXMLFile(const WkXMLFile&) = delete;
    WkXMLFile& operator=(const WkXMLFile&) = delete;

    // An empty source makes a new document with the declaration and `rootName` (S_FALSE on
    // success); any other source is loaded.
    HRESULT LoadSource(const VARIANT* source, const wchar_t* rootName);
    HRESULT CreateParser(const wchar_t* rootName, DWORD flags);
    int LoadFile(const wchar_t* path, DWORD flags);
    int SaveFile(const wchar_t* path);

    // The document element, fetched once; throws E_POINTER without a document.
    IXMLDOMElement* GetRoot();
    // The direct child of the root named `name` (or, with `subName`, that child's child), created
    // when missing unless the object is read-only.
    com::ComPtr<IXMLDOMNode> GetSection(const wchar_t* name, const wchar_t* subName = nullptr);
    int HasSection(const wchar_t* name);
    HRESULT ReportParseError(DWORD flags);

    IXMLDOMDocument* Document() const noexcept { return document_.get(); }
    DWORD Flags() const noexcept { return flags_; }

private:
    static DWORD ParserVersionFromSettings() noexcept;
    static HRESULT CreateDocumentObject(const CLSID& clsid, com::ComPtr<IXMLDOMDocument>& document);
    static com::UniqueVariant StreamContent(IStream* stream);
    HRESULT Load(const VARIANT& source, DWORD flags);
    com::ComPtr<IXMLDOMNode> FindOrCreateChild(IXMLDOMNode* parent, const wchar_t* name);
    void ShowParseError(IXMLDOMParseError* error, BSTR reason, BSTR url, HRESULT code) const;

    com::ComPtr<IXMLDOMDocument> document_;
    com::ComPtr<IXMLDOMElement> root_;
    DWORD flags_;
    com::UniqueBstr filePath_;
};

}  // namespace xml
