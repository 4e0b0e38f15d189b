#include "xml/WkXMLFile.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "com/ErrorRecord.h"
#include "com/SafeArray.h"
#include "com/UniqueVariant.h"

namespace xml {
namespace {

constexpr DWORD kAnyContext = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER;


// Parser properties that a parser version does not know are refused; that is expected.
void SetParserProperty(IXMLDOMDocument2* document, const wchar_t* name, const VARIANT& value) {
    const com::UniqueBstr propertyName = com::CopyText(name);
    document->setProperty(propertyName.get(), value);
}

}  // namespace

HRESULT WkXMLFile::CreateDocumentObject(const CLSID& clsid, com::ComPtr<IXMLDOMDocument>& document) {
    com::ComPtr<IUnknown> object;
    HRESULT hr = ::CoCreateInstance(clsid, nullptr, kAnyContext, IID_IUnknown, object.put_void());
    if (FAILED(hr)) return hr;
    hr = ::OleRun(object.get());
    if (FAILED(hr)) return hr;
    return object->QueryInterface(__uuidof(IXMLDOMDocument), document.put_void());
}

HRESULT WkXMLFile::CreateParser(const wchar_t* rootName, DWORD flags) {
    com::ComPtr<IXMLDOMDocument> document;
    HRESULT hr = CreateDocumentObject(kFreeThreadedDOMDocument60, document);
    if (FAILED(hr) && hr != E_OUTOFMEMORY) hr = CreateDocumentObject(kFreeThreadedDOMDocument30, document);
    // A parser that cannot be made for want of memory says nothing about the document.
    if (hr == E_OUTOFMEMORY) com::ThrowOutOfMemory();
    if (FAILED(hr)) return hr;

    document->put_async(VARIANT_FALSE);

    com::ComPtr<IXMLDOMDocument2> document2;
    const HRESULT query = document->QueryInterface(__uuidof(IXMLDOMDocument2), document2.put_void());
    if (query != E_NOINTERFACE) com::ThrowIfFailed(query);

    // Always on: hosts keep entity declarations in their documents.
    document->put_resolveExternals(VARIANT_TRUE);
    if (document2) {
        SetParserProperty(document2.get(), L"ProhibitDTD", com::UniqueVariant::Bool(false).get());
        SetParserProperty(document2.get(), L"AllowXsltScript", com::UniqueVariant::Bool(true).get());
        SetParserProperty(document2.get(), L"AllowDocumentFunction", com::UniqueVariant::Bool(true).get());
    }
    hr = document->put_validateOnParse(VARIANT_FALSE);
    if (document2) {
        SetParserProperty(document2.get(), L"SelectionNamespaces",
                          com::UniqueVariant::Text(L"xmlns:ms='urn:schemas-microsoft-com:xslt'").get());
        SetParserProperty(document2.get(), L"SelectionLanguage", com::UniqueVariant::Text(L"XPath").get());
        // Asked of the 3.0 fallback too, which refuses it harmlessly.
        SetParserProperty(document2.get(), L"NewParser", com::UniqueVariant::Bool(true).get());
    }

    if (flags & kNewDocument) {
        const com::UniqueBstr target = com::CopyText(L"xml");
        const com::UniqueBstr text = com::CopyText(L"version=\"1.0\" encoding=\"UTF-8\"");
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
    return Load(*source);
}

// The rest of a stream, from its current position, as the byte array the parser also loads from.
// Some parsers copy a stream through a buffer that grows by reallocation on every read, which makes
// a large document's load cost grow with the square of its size.
com::UniqueVariant WkXMLFile::StreamContent(IStream* stream) {
    // Read straight into the array, sized by what the stream's status says is left; without a
    // status the array grows as the stream gives.
    STATSTG status{};
    ULARGE_INTEGER position{};
    const bool sized = SUCCEEDED(stream->Stat(&status, STATFLAG_NONAME)) &&
                       SUCCEEDED(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_CUR, &position));
    const ULONGLONG left = sized && status.cbSize.QuadPart > position.QuadPart ? status.cbSize.QuadPart - position.QuadPart : 0;
    if (left > ULONG_MAX) com::ThrowOutOfMemory();
    SAFEARRAY* array = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(left));
    if (!array) com::ThrowOutOfMemory();
    com::UniqueVariant content = com::UniqueVariant::Array(array, VT_UI1);
    ULONG filled = 0, capacity = static_cast<ULONG>(left);
    for (;;) {
        if (filled == capacity) {
            if (sized || capacity == ULONG_MAX) break;
            capacity += std::min<ULONG>(ULONG_MAX - capacity, std::max<ULONG>(capacity, 65536));
            SAFEARRAYBOUND bound{capacity, 0};
            com::ThrowIfFailed(::SafeArrayRedim(array, &bound));
        }
        ULONG read = 0;
        com::SafeArrayData<BYTE> data(array);
        if (FAILED(stream->Read(&data[filled], capacity - filled, &read)) || read == 0) break;
        filled += read;
    }
    if (filled != capacity) {
        SAFEARRAYBOUND bound{filled, 0};
        com::ThrowIfFailed(::SafeArrayRedim(array, &bound));
    }
    return content;
}

HRESULT WkXMLFile::Load(const VARIANT& source) {
    document_->put_async(VARIANT_FALSE);
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
        ReportParseError();
        return hr;
    }
    if (loaded != VARIANT_TRUE) return ReportParseError();
    return hr;
}

IXMLDOMElement* WkXMLFile::GetRoot() {
    if (!document_) throw com::ComError(E_POINTER);
    if (!root_ && FAILED(document_->get_documentElement(root_.put()))) ReportParseError();
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

com::ComPtr<IXMLDOMNode> WkXMLFile::GetSection(const wchar_t* name) {
    IXMLDOMElement* root = GetRoot();
    if (!root || !name || !*name) return nullptr;
    return FindOrCreateChild(root, name);
}

HRESULT WkXMLFile::ReportParseError() {
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
    // Without a reason the code's system message describes the failure.
    com::SetThreadErrorInfo(__uuidof(IXMLDOMDocument), url.get(),
                            com::IsEmptyBstr(reason.get()) ? nullptr : reason.get(), code);
    return result;
}

}  // namespace xml
