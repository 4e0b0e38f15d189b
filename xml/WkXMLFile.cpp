#include "xml/WkXMLFile.h"

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "com/SafeArray.h"
#include "com/UniqueVariant.h"

namespace xml {
namespace {

constexpr DWORD kAnyContext = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER;
constexpr wchar_t kSettingsKey[] = L"Software\\Quillon\\Client";

com::UniqueVariant BoolVariant(bool value) {
    com::UniqueVariant result;
    result.get().vt = VT_BOOL;
    result.get().boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}

com::UniqueVariant TextVariant(const wchar_t* text) {
    com::UniqueVariant result;
    result.get().vt = VT_BSTR;
    result.get().bstrVal = com::CopyText(text).release();
    return result;
}

// Parser properties that a parser version does not know are refused; that is expected.
void SetParserProperty(IXMLDOMDocument2* document, const wchar_t* name, const VARIANT& value) {
    const com::UniqueBstr propertyName = com::CopyText(name);
    document->setProperty(propertyName.get(), value);
}

}  // namespace

DWORD WkXMLFile::ParserVersionFromSettings() noexcept {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
    DWORD version = 0;
    DWORD size = sizeof version;
    DWORD type = 0;
    if (::RegQueryValueExW(key, L"MSXMLVersion", nullptr, &type, reinterpret_cast<BYTE*>(&version), &size) !=
            ERROR_SUCCESS ||
        type != REG_DWORD) {
        version = 0;
    }
    ::RegCloseKey(key);
    return version;
}

HRESULT WkXMLFile::CreateDocumentObject(const CLSID& clsid, com::ComPtr<IXMLDOMDocument>& document) {
    com::ComPtr<IUnknown> object;
    HRESULT hr = ::CoCreateInstance(clsid, nullptr, kAnyContext, IID_IUnknown, object.put_void());
    if (FAILED(hr)) return hr;
    hr = ::OleRun(object.get());
    if (FAILED(hr)) return hr;
    return object->QueryInterface(__uuidof(IXMLDOMDocument), document.put_void());
}

HRESULT WkXMLFile::CreateParser(const wchar_t* rootName, DWORD flags) {
    const DWORD version = (flags & kVersionFromSettings) ? ParserVersionFromSettings() : 0;
    com::ComPtr<IXMLDOMDocument> document;
    HRESULT hr = S_OK;
    switch (version) {
        case 2: hr = CreateDocumentObject(kFreeThreadedDOMDocument26, document); break;
        case 3: hr = CreateDocumentObject(kFreeThreadedDOMDocument30, document); break;
        case 4: hr = CreateDocumentObject(kFreeThreadedDOMDocument40, document); break;
        case 6: hr = CreateDocumentObject(kFreeThreadedDOMDocument60, document); break;
        default:
            hr = CreateDocumentObject(kFreeThreadedDOMDocument60, document);
            if (FAILED(hr) && hr != E_OUTOFMEMORY) hr = CreateDocumentObject(kFreeThreadedDOMDocument30, document);
            break;
    }
    // A parser that cannot be made for want of memory says nothing about the document.
    if (hr == E_OUTOFMEMORY) com::ThrowOutOfMemory();
    if (FAILED(hr)) return hr;

    if (!(flags & kAsync)) hr = document->put_async(VARIANT_FALSE);
    if (flags & kPreserveWhiteSpace) hr = document->put_preserveWhiteSpace(VARIANT_TRUE);

    com::ComPtr<IXMLDOMDocument2> document2;
    const HRESULT query = document->QueryInterface(__uuidof(IXMLDOMDocument2), document2.put_void());
    if (FAILED(query) && query != E_NOINTERFACE) throw com::ComError(query, __uuidof(IXMLDOMDocument2));

    // Always on: hosts keep entity declarations in their documents.
    hr = document->put_resolveExternals(VARIANT_TRUE);
    if (document2) {
        SetParserProperty(document2.get(), L"ProhibitDTD", BoolVariant(false).get());
        SetParserProperty(document2.get(), L"AllowXsltScript", BoolVariant(true).get());
        SetParserProperty(document2.get(), L"AllowDocumentFunction", BoolVariant(true).get());
    }
    if (!(flags & kKeepParserSettings)) {
        hr = document->put_validateOnParse(VARIANT_FALSE);
        if (document2) {
            SetParserProperty(document2.get(), L"SelectionNamespaces",
                              TextVariant(L"xmlns:ms='urn:schemas-microsoft-com:xslt'").get());
            SetParserProperty(document2.get(), L"SelectionLanguage", TextVariant(L"XPath").get());
            // Asked of the 3.0 fallback too, which refuses it harmlessly.
            if (version != 1 && version != 2 && version != 3) {
                SetParserProperty(document2.get(), L"NewParser", BoolVariant(true).get());
            }
        }
    }

    if (flags & (kNewDocument | kUtf16Declaration)) {
        wchar_t data[64];
        std::swprintf(data, 64, L"version=\"1.0\" encoding=\"UTF-%d\"", (flags & kNewDocument) ? 8 : 16);
        const com::UniqueBstr target = com::CopyText(L"xml");
        const com::UniqueBstr text = com::CopyText(data);
        com::ComPtr<IXMLDOMProcessingInstruction> declaration;
        hr = document->createProcessingInstruction(target.get(), text.get(), declaration.put());
        if (FAILED(hr)) return hr;
        com::ComPtr<IXMLDOMNode> appended;
        hr = document->appendChild(declaration.get(), appended.put());
        if (FAILED(hr)) return hr;
    }
    if (rootName && *rootName) {
        const com::UniqueBstr name = com::CopyText(rootName);
        com::ComPtr<IXMLDOMElement> root;
        hr = document->createElement(name.get(), root.put());
        if (FAILED(hr)) return hr;
        hr = document->putref_documentElement(root.get());
    }
    document_ = std::move(document);
    return hr;
}

HRESULT WkXMLFile::LoadSource(const VARIANT* source, const wchar_t* rootName) {
    if (!source) return E_POINTER;
    root_.reset();
    document_.reset();
    if (source->vt == VT_EMPTY) {
        const HRESULT hr = CreateParser(rootName, kNewDocument);
        return SUCCEEDED(hr) ? S_FALSE : hr;
    }
    const HRESULT hr = CreateParser(nullptr, 0);
    if (FAILED(hr)) return hr;
    return Load(*source, 0);
}

// The rest of a stream, from its current position, as the byte array the parser also loads from.
// Some parsers copy a stream through a buffer that grows by reallocation on every read, which makes
// a large document's load cost grow with the square of its size.
com::UniqueVariant WkXMLFile::StreamContent(IStream* stream) {
    std::vector<BYTE> bytes;
    STATSTG status{};
    ULARGE_INTEGER position{};
    const LARGE_INTEGER here{};
    if (SUCCEEDED(stream->Stat(&status, STATFLAG_NONAME)) &&
        SUCCEEDED(stream->Seek(here, STREAM_SEEK_CUR, &position)) && status.cbSize.QuadPart > position.QuadPart) {
        bytes.reserve(static_cast<size_t>(status.cbSize.QuadPart - position.QuadPart));
    }
    BYTE chunk[65536];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(chunk, sizeof chunk, &read)) && read > 0) bytes.insert(bytes.end(), chunk, chunk + read);

    com::UniqueVariant content;
    SAFEARRAY* array = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    if (!array) com::ThrowOutOfMemory();
    content.get().vt = VT_ARRAY | VT_UI1;
    content.get().parray = array;
    if (!bytes.empty()) {
        com::SafeArrayData<BYTE> data(array);
        std::memcpy(&data[0], bytes.data(), bytes.size());
    }
    return content;
}

HRESULT WkXMLFile::Load(const VARIANT& source, DWORD flags) {
    if (!(flags & kAsync)) document_->put_async(VARIANT_FALSE);
    com::UniqueVariant content;
    const VARIANT* loadFrom = &source;
    if (source.vt == VT_UNKNOWN && source.punkVal) {
        if (auto stream = com::ComPtr<IUnknown>(source.punkVal).try_query<IStream>()) {
            content = StreamContent(stream.get());
            loadFrom = &content.get();
        }
    }
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT hr = document_->load(*loadFrom, &loaded);
    if (hr == E_OUTOFMEMORY) com::ThrowOutOfMemory();
    if (FAILED(hr)) {
        // Some parsers (Wine's among them) refuse a document that is not well-formed through the
        // call's result instead of its success flag. The caller still gets the parse error as the
        // thread's error record; the result stays the load's own.
        ReportParseError(flags);
        return hr;
    }
    if (loaded != VARIANT_TRUE) return ReportParseError(flags);
    return hr;
}

int WkXMLFile::LoadFile(const wchar_t* path, DWORD flags) {
    filePath_ = com::CopyText(path);
    flags_ = (flags_ ? flags_ : (kFileLoad | kPreserveWhiteSpace)) | (flags & kReadOnly);
    if (FAILED(CreateParser(nullptr, flags_))) return 0;
    if (!path || ::GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) return 0;
    com::UniqueVariant source;
    source.get().vt = VT_BSTR;
    source.get().bstrVal = com::CopyText(path).release();
    return Load(source.get(), flags_) == S_OK ? 1 : 0;
}

int WkXMLFile::SaveFile(const wchar_t* path) {
    if (!document_) return 0;
    if (path && (!filePath_ || std::wcscmp(path, filePath_.get()) != 0)) filePath_ = com::CopyText(path);
    com::UniqueVariant target;
    target.get().vt = VT_BSTR;
    target.get().bstrVal = com::CopyText(filePath_.get()).release();
    return document_->save(target.get()) == S_OK ? 1 : 0;
}

IXMLDOMElement* WkXMLFile::GetRoot() {
    if (!document_) throw com::ComError(E_POINTER);
    if (!root_ && FAILED(document_->get_documentElement(root_.put()))) ReportParseError(flags_);
    return root_.get();
}

com::ComPtr<IXMLDOMNode> WkXMLFile::FindOrCreateChild(IXMLDOMNode* parent, const wchar_t* name) {
    com::ComPtr<IXMLDOMNode> child;
    parent->get_firstChild(child.put());
    while (child) {
        com::UniqueBstr baseName;
        if (SUCCEEDED(child->get_baseName(baseName.put())) && baseName &&
            std::wcscmp(baseName.get(), name) == 0) {
            return child;
        }
        com::ComPtr<IXMLDOMNode> next;
        child->get_nextSibling(next.put());
        child = std::move(next);
    }
    if (flags_ & kReadOnly) return nullptr;
    const com::UniqueBstr elementName = com::CopyText(name);
    com::ComPtr<IXMLDOMElement> created;
    if (FAILED(document_->createElement(elementName.get(), created.put()))) return nullptr;
    com::ComPtr<IXMLDOMNode> appended;
    if (FAILED(parent->appendChild(created.get(), appended.put()))) return nullptr;
    return appended;
}

com::ComPtr<IXMLDOMNode> WkXMLFile::GetSection(const wchar_t* name, const wchar_t* subName) {
    IXMLDOMElement* root = GetRoot();
    if (!root) return nullptr;
    const wchar_t* first = (name && *name) ? name : subName;
    if (!first || !*first) return nullptr;
    com::ComPtr<IXMLDOMNode> section = FindOrCreateChild(root, first);
    if (section && subName && *subName && first != subName) {
        section = FindOrCreateChild(section.get(), subName);
    }
    return section;
}

int WkXMLFile::HasSection(const wchar_t* name) { return GetSection(name) ? 1 : 0; }

HRESULT WkXMLFile::ReportParseError(DWORD flags) {
    if (!document_) return E_NOINTERFACE;
    HRESULT result = E_FAIL;
    com::ComPtr<IXMLDOMParseError> error;
    if (FAILED(document_->get_parseError(error.put())) || !error) return result;
    long code = 0;
    if (FAILED(error->get_errorCode(&code))) return result;
    result = code;
    if (code == 0) return result;
    com::UniqueBstr reason, url;
    error->get_reason(reason.put());
    error->get_url(url.put());
    if (com::IsEmptyBstr(reason.get())) {
        wchar_t* message = nullptr;
        if (::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                 FORMAT_MESSAGE_IGNORE_INSERTS,
                             nullptr, static_cast<DWORD>(code), 0, reinterpret_cast<wchar_t*>(&message), 0,
                             nullptr) &&
            message) {
            reason = com::CopyText(message);
            ::LocalFree(message);
        }
    }
    com::ComPtr<ICreateErrorInfo> creator;
    if (SUCCEEDED(::CreateErrorInfo(creator.put()))) {
        creator->SetGUID(__uuidof(IXMLDOMDocument));
        creator->SetSource(url.get());
        creator->SetDescription(reason.get());
        if (auto info = creator.try_query<IErrorInfo>()) ::SetErrorInfo(0, info.get());
    }
    if (flags & kShowParseError) ShowParseError(error.get(), reason.get(), url.get(), result);
    return result;
}

void WkXMLFile::ShowParseError(IXMLDOMParseError* error, BSTR reason, BSTR url, HRESULT code) const {
    long filePosition = 0, line = 0, linePosition = 0;
    error->get_filepos(&filePosition);
    error->get_line(&line);
    error->get_linepos(&linePosition);
    com::UniqueBstr sourceText;
    error->get_srcText(sourceText.put());
    std::wstring source(sourceText.get() ? sourceText.get() : L"");
    if (source.size() >= 256) source = source.substr(linePosition < 2 ? 0 : linePosition - 1, 255);
    // The rich message box of the host's common library renders this markup; here it shows as is.
    std::wstring body(1024 + source.size() + com::BstrLength(reason) + com::BstrLength(url), L'\0');
    const int length = std::swprintf(
        body.data(), body.size(),
        L"$RTF+$B+%ls$B-$NL$NL$B+File:$B-\t%ls, position %d$NL$B+Line:$B-\t%d, position %d$NL"
        L"$B+Code:$B-\t0x%X$NL$B+Source:$B-\t%ls",
        reason ? reason : L"", url ? url : L"", static_cast<int>(filePosition), static_cast<int>(line),
        static_cast<int>(linePosition), static_cast<unsigned>(code), source.c_str());
    if (length > 0) body.resize(static_cast<size_t>(length));
    ::MessageBoxW(nullptr, body.c_str(), L"XML Parse Error", MB_ICONERROR | MB_OK);
}

}  // namespace xml
