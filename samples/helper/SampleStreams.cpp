// QnPropStorageSample.Streams: a sample helper, not part of the library. It plays the document host
// that hands a script the stream of a document's properties: the Windows Script Host cannot open a
// stream of a compound file or move one back to its start. The dispatch is written out by hand, so
// the helper needs no type library of its own.
//
//   regsvr32 QnPropStorageSampleStreams.dll       (and regsvr32 /u to remove it again)
//
//   CreateFileStream(path, name)            the stream `name` of a new compound file, read-write
//   OpenFileStream(path, name, readOnly)    the stream of an existing file
//   Rewind(stream)                          moves the stream back to its start
//   StreamText(stream)                      the stream's whole content as text (UTF-8 decoded)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#include <new>
#include <string>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

const wchar_t kClsidText[] = L"{1EA0C099-6BB9-4A7C-A6E6-8BAAABAF147C}";
const wchar_t kProgId[] = L"QnPropStorageSample.Streams";

// By dispatch id less one, with the types the arguments are converted to.
const struct { const wchar_t* name; UINT arguments; VARTYPE types[3]; } kMembers[] = {
    {L"CreateFileStream", 2, {VT_BSTR, VT_BSTR}}, {L"OpenFileStream", 3, {VT_BSTR, VT_BSTR, VT_BOOL}},
    {L"Rewind", 1, {VT_UNKNOWN}}, {L"StreamText", 1, {VT_UNKNOWN}}};
enum : DISPID { kCreateFileStream = 1, kOpenFileStream, kRewind, kStreamText };

// Owns one reference.
template <class T>
class Ref {
public:
    Ref() = default;
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() { reset(); }
    void reset() {
        if (p_) p_->Release();
        p_ = nullptr;
    }
    T** put() { return reset(), &p_; }
    T* get() const { return p_; }
    T* operator->() const { return p_; }
    T* detach() {
        T* p = p_;
        p_ = nullptr;
        return p;
    }

private:
    T* p_ = nullptr;
};

class Variant {
public:
    Variant() { ::VariantInit(&v_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { ::VariantClear(&v_); }
    VARIANT& get() { return v_; }

private:
    VARIANT v_;
};

HRESULT Rewind(IStream* stream) { return stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr); }

// The whole content as text. It leaves the stream at its end: hosts rewind before they hand it on.
HRESULT ReadText(IStream* stream, VARIANT& result) {
    STATSTG stat{};
    HRESULT hr = stream->Stat(&stat, STATFLAG_NONAME);
    std::string bytes(static_cast<size_t>(stat.cbSize.QuadPart), '\0');
    if (SUCCEEDED(hr)) hr = Rewind(stream);
    if (SUCCEEDED(hr)) hr = stream->Read(&bytes[0], static_cast<ULONG>(bytes.size()), nullptr);
    if (FAILED(hr)) return hr;
    const int size = static_cast<int>(bytes.size());
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
    V_VT(&result) = VT_BSTR;
    V_BSTR(&result) = ::SysAllocStringLen(nullptr, static_cast<UINT>(length));
    if (!V_BSTR(&result)) return E_OUTOFMEMORY;
    ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, V_BSTR(&result), length);
    return S_OK;
}

class Streams final : public IDispatch {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown || riid == IID_IDispatch ? static_cast<IDispatch*>(this) : nullptr;
        if (*object) AddRef();
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return *count = 0, S_OK; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    // No member takes named arguments, so only the member's own name can be known.
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        for (DISPID id = kCreateFileStream; id <= kStreamText; ++id)
            if (count == 1 && ::_wcsicmp(names[0], kMembers[id - 1].name) == 0) return *ids = id, S_OK;
        return DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO*, UINT* argumentError) override {
        // JScript asks for a property get instead of a method when it uses the result.
        if (id < kCreateFileStream || id > kStreamText || !(flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)))
            return DISP_E_MEMBERNOTFOUND;
        // The conversion also looks through the variables VBScript passes by reference, and
        // refuses missing arguments.
        Variant arguments[3], answer;
        HRESULT hr = S_OK;
        for (UINT i = 0; i < kMembers[id - 1].arguments && SUCCEEDED(hr); ++i)
            hr = ::DispGetParam(params, i, kMembers[id - 1].types[i], &arguments[i].get(), argumentError);
        if (FAILED(hr)) return hr;
        const auto text = [&](int i) { return V_BSTR(&arguments[i].get()); };
        if (id == kCreateFileStream || id == kOpenFileStream) {
            hr = OpenFileStream(id == kCreateFileStream, text(0), text(1),
                                id == kOpenFileStream && V_BOOL(&arguments[2].get()), answer.get());
        } else {
            Ref<IStream> stream;
            IUnknown* given = V_UNKNOWN(&arguments[0].get());
            hr = !given || FAILED(given->QueryInterface(IID_IStream, reinterpret_cast<void**>(stream.put())))
                     ? DISP_E_TYPEMISMATCH
                 : id == kRewind ? Rewind(stream.get()) : ReadText(stream.get(), answer.get());
        }
        if (SUCCEEDED(hr) && result) *result = answer.get(), ::VariantInit(&answer.get());
        return hr;
    }

private:
    // A compound file is opened exclusively, so the one held so far is closed first. Streams do
    // not keep their storage alive: this object holds it while the newest stream is in use.
    HRESULT OpenFileStream(bool creating, BSTR file, BSTR name, bool readOnly, VARIANT& result) {
        storage_.reset();
        const DWORD mode = (readOnly ? STGM_READ : STGM_READWRITE) | STGM_SHARE_EXCLUSIVE;
        Ref<IStream> stream;
        HRESULT hr = creating ? ::StgCreateDocfile(file, mode | STGM_CREATE, 0, storage_.put())
                              : ::StgOpenStorage(file, nullptr, mode, nullptr, 0, storage_.put());
        if (SUCCEEDED(hr))
            hr = creating ? storage_->CreateStream(name, mode | STGM_CREATE, 0, 0, stream.put())
                          : storage_->OpenStream(name, nullptr, mode, 0, stream.put());
        if (FAILED(hr)) return hr;
        V_VT(&result) = VT_UNKNOWN;
        V_UNKNOWN(&result) = stream.detach();
        return S_OK;
    }

    ULONG references_ = 1;
    Ref<IStorage> storage_;
};

// A static object: its references keep nothing alive.
class ClassFactory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        *object = riid == IID_IUnknown || riid == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        Streams* streams = new (std::nothrow) Streams;
        if (!streams) return E_OUTOFMEMORY;
        const HRESULT hr = streams->QueryInterface(riid, object);
        streams->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
} g_factory;

const std::wstring kClassKey = std::wstring(L"CLSID\\") + kClsidText;

}  // namespace

// A sample helper may stay loaded for as long as its process runs.
STDAPI DllCanUnloadNow() { return S_FALSE; }

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* object) {
    CLSID clsid;
    *object = nullptr;
    if (FAILED(::CLSIDFromString(kClsidText, &clsid)) || rclsid != clsid) return CLASS_E_CLASSNOTAVAILABLE;
    return g_factory.QueryInterface(riid, object);
}

STDAPI DllRegisterServer() {
    wchar_t path[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) return HRESULT_FROM_WIN32(::GetLastError());
    const std::wstring server = kClassKey + L"\\InprocServer32";
    const struct { std::wstring key; const wchar_t* name; const wchar_t* value; } values[] = {
        {std::wstring(kProgId) + L"\\CLSID", nullptr, kClsidText}, {kClassKey, nullptr, kProgId},
        {kClassKey + L"\\ProgID", nullptr, kProgId}, {server, nullptr, path},
        {server, L"ThreadingModel", L"Apartment"}};
    for (const auto& v : values) {
        const DWORD bytes = static_cast<DWORD>((wcslen(v.value) + 1) * sizeof(wchar_t));
        const LONG rc = ::RegSetKeyValueW(HKEY_CLASSES_ROOT, v.key.c_str(), v.name, REG_SZ, v.value, bytes);
        if (rc != ERROR_SUCCESS) return HRESULT_FROM_WIN32(rc);
    }
    return S_OK;
}

STDAPI DllUnregisterServer() {
    for (const std::wstring& key : {std::wstring(kProgId), kClassKey}) {
        const LONG rc = ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        if (rc != ERROR_SUCCESS && rc != ERROR_FILE_NOT_FOUND) return HRESULT_FROM_WIN32(rc);
    }
    return S_OK;
}
