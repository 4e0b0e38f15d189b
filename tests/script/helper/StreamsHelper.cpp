// QnPropStorageTest.Streams: hands script tests streams of OLE compound files, the streams hosts
// pass to ReadProperties and WriteProperties. Script cannot make an IStream on its own, and a
// type library would be one more thing to build and register, so the dispatch is written out.
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"

#include <new>
#include <string>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

const wchar_t kClsidText[] = L"{EA26F7CF-EAD2-4E19-9965-6B32D31917F6}";
const wchar_t kProgId[] = L"QnPropStorageTest.Streams";
LONG g_locks = 0;

enum : DISPID {
    kCreateFileStream = 1, kOpenFileStream, kRewind, kStreamText, kSetStreamText, kClose
};

// Indexed by dispatch id less one; each argument is converted to its type before the call.
const struct Member {
    const wchar_t* name;
    UINT arguments;
    VARTYPE types[3];
} kMembers[] = {{L"CreateFileStream", 2, {VT_BSTR, VT_BSTR}},
                {L"OpenFileStream", 3, {VT_BSTR, VT_BSTR, VT_BOOL}},
                {L"Rewind", 1, {VT_UNKNOWN}}, {L"StreamText", 1, {VT_UNKNOWN}},
                {L"SetStreamText", 2, {VT_UNKNOWN, VT_BSTR}}, {L"Close", 0, {}}};

HRESULT Rewind(IStream* stream) { return stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr); }

// The whole content, decoded as UTF-8. A clone keeps a position of its own, so looking at a
// stream does not change what the library reads next.
HRESULT ReadText(IStream* stream, VARIANT& result) {
    com::ComPtr<IStream> clone;
    HRESULT hr = stream->Clone(clone.put());
    if (SUCCEEDED(hr)) hr = Rewind(clone.get());
    std::string bytes;
    char chunk[4096];
    ULONG read = 0;
    while (SUCCEEDED(hr) && SUCCEEDED(hr = clone->Read(chunk, sizeof chunk, &read)) && read > 0)
        bytes.append(chunk, read);
    if (FAILED(hr)) return hr;
    const int size = static_cast<int>(bytes.size());
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, &text[0], size)));
    V_VT(&result) = VT_BSTR;
    V_BSTR(&result) = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return V_BSTR(&result) ? S_OK : E_OUTOFMEMORY;
}

// Replaces the content and rewinds, so the planted document is what the next read sees.
HRESULT WriteText(IStream* stream, BSTR text) {
    const int length = static_cast<int>(com::BstrLength(text));
    std::string bytes(static_cast<size_t>(length) * 3, '\0');  // at most 3 bytes per UTF-16 unit
    bytes.resize(static_cast<size_t>(
        ::WideCharToMultiByte(CP_UTF8, 0, text, length, &bytes[0], length * 3, nullptr, nullptr)));
    HRESULT hr = stream->SetSize(ULARGE_INTEGER{});
    if (SUCCEEDED(hr)) hr = Rewind(stream);
    if (SUCCEEDED(hr) && !bytes.empty())
        hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    return SUCCEEDED(hr) ? Rewind(stream) : hr;
}

class Streams final : public IDispatch {
public:
    Streams() { ::InterlockedIncrement(&g_locks); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        const bool known = riid == IID_IUnknown || riid == IID_IDispatch;
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (count) *count = 0;
        return count ? S_OK : E_POINTER;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return DISP_E_BADINDEX;
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        if (!names || !ids) return E_POINTER;
        for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        // No member takes named arguments, so only the member's own name can be known.
        for (DISPID id = kCreateFileStream; count > 0 && id <= kClose; ++id)
            if (com::NamesEqual(names[0], kMembers[id - 1].name)) ids[0] = id;
        return count == 1 && ids[0] != DISPID_UNKNOWN ? S_OK : DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params,
                        VARIANT* result, EXCEPINFO*, UINT* argumentError) override {
        if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
        if (!params) return E_POINTER;
        // JScript asks for a method or property get at once when it uses the result.
        const bool called = flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET);
        if (!called || id < kCreateFileStream || id > kClose) return DISP_E_MEMBERNOTFOUND;
        const Member& member = kMembers[id - 1];
        if (params->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
        if (params->cArgs != member.arguments) return DISP_E_BADPARAMCOUNT;
        // VBScript passes its variables by reference, which the conversion looks through.
        com::UniqueVariant arguments[3];
        com::ComPtr<IStream> stream;
        for (UINT i = 0; i < member.arguments; ++i) {
            const VARTYPE type = member.types[i];
            HRESULT hr = ::DispGetParam(params, i, type, arguments[i].put(), argumentError);
            if (SUCCEEDED(hr) && type == VT_UNKNOWN) {
                stream = com::ComPtr<IUnknown>(V_UNKNOWN(&arguments[i].get())).try_query<IStream>();
                if (!stream && argumentError) *argumentError = member.arguments - 1 - i;
                if (!stream) hr = DISP_E_TYPEMISMATCH;
            }
            if (FAILED(hr)) return hr;
        }
        const auto text = [&](int i) { return V_BSTR(&arguments[i].get()); };
        com::UniqueVariant answer;
        HRESULT hr = S_OK;
        switch (id) {
            case kCreateFileStream:
            case kOpenFileStream:
                hr = OpenFileStream(id == kCreateFileStream, text(0), text(1),
                                    id == kOpenFileStream && V_BOOL(&arguments[2].get()),
                                    answer.get());
                break;
            case kRewind: hr = Rewind(stream.get()); break;
            case kStreamText: hr = ReadText(stream.get(), answer.get()); break;
            case kSetStreamText: hr = WriteText(stream.get(), text(1)); break;
            default: storage_.reset();
        }
        if (SUCCEEDED(hr) && result) answer.detach(result);
        return hr;
    }

private:
    ~Streams() { ::InterlockedDecrement(&g_locks); }

    // A compound file is opened exclusively, so the file held so far is closed first; a stream
    // handed out from it stops working then. Streams do not keep their storage alive, so this
    // object holds it for as long as the newest stream is in use.
    HRESULT OpenFileStream(bool creating, BSTR file, BSTR name, bool readOnly, VARIANT& result) {
        storage_.reset();
        const DWORD mode = (readOnly ? STGM_READ : STGM_READWRITE) | STGM_SHARE_EXCLUSIVE;
        com::ComPtr<IStorage> storage;
        com::ComPtr<IStream> stream;
        HRESULT hr = creating ? ::StgCreateDocfile(file, mode | STGM_CREATE, 0, storage.put())
                              : ::StgOpenStorage(file, nullptr, mode, nullptr, 0, storage.put());
        if (SUCCEEDED(hr))
            hr = creating ? storage->CreateStream(name, mode | STGM_CREATE, 0, 0, stream.put())
                          : storage->OpenStream(name, nullptr, mode, 0, stream.put());
        if (FAILED(hr)) return hr;
        storage_ = storage;
        V_VT(&result) = VT_UNKNOWN;
        V_UNKNOWN(&result) = stream.detach();
        return S_OK;
    }

    ULONG references_ = 1;
    com::ComPtr<IStorage> storage_;
};

// A static object: its references keep nothing alive.
class ClassFactory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        const bool known = riid == IID_IUnknown || riid == IID_IClassFactory;
        *object = known ? static_cast<IClassFactory*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        Streams* streams = new (std::nothrow) Streams;
        if (!streams) return E_OUTOFMEMORY;
        const HRESULT hr = streams->QueryInterface(riid, object);
        streams->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        lock ? ::InterlockedIncrement(&g_locks) : ::InterlockedDecrement(&g_locks);
        return S_OK;
    }
} g_factory;

LONG SetValue(const std::wstring& key, const wchar_t* name, const wchar_t* value) {
    const DWORD bytes = static_cast<DWORD>((wcslen(value) + 1) * sizeof(wchar_t));
    return ::RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, value, bytes);
}

}  // namespace

STDAPI DllCanUnloadNow() { return g_locks == 0 ? S_OK : S_FALSE; }

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    CLSID clsid;
    if (FAILED(::CLSIDFromString(kClsidText, &clsid)) || rclsid != clsid)
        return CLASS_E_CLASSNOTAVAILABLE;
    return g_factory.QueryInterface(riid, object);
}

STDAPI DllRegisterServer() {
    wchar_t path[MAX_PATH];
    const DWORD length =
        ::GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) return HRESULT_FROM_WIN32(::GetLastError());
    const std::wstring clsid = std::wstring(L"CLSID\\") + kClsidText;
    LONG rc = SetValue(std::wstring(kProgId) + L"\\CLSID", nullptr, kClsidText);
    if (rc == ERROR_SUCCESS) rc = SetValue(clsid, nullptr, kProgId);
    if (rc == ERROR_SUCCESS) rc = SetValue(clsid + L"\\ProgID", nullptr, kProgId);
    const std::wstring server = clsid + L"\\InprocServer32";
    if (rc == ERROR_SUCCESS) rc = SetValue(server, nullptr, path);
    if (rc == ERROR_SUCCESS) rc = SetValue(server, L"ThreadingModel", L"Apartment");
    return HRESULT_FROM_WIN32(rc);
}

// Keys that are already gone are what removal wants; the first other failure is reported.
STDAPI DllUnregisterServer() {
    LONG rc = ERROR_SUCCESS;
    for (const std::wstring& key : {std::wstring(kProgId), std::wstring(L"CLSID\\") + kClsidText}) {
        const LONG deleted = ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        if (rc == ERROR_SUCCESS && deleted != ERROR_FILE_NOT_FOUND) rc = deleted;
    }
    return HRESULT_FROM_WIN32(rc);
}
