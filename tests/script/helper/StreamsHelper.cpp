// QnPropStorageTest.Streams: hands script tests streams of OLE compound files, the streams hosts
// pass to ReadProperties and WriteProperties. Script cannot make an IStream on its own, and a
// type library would be one more thing to build and register, so the dispatch is written out.
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"

#include <new>
#include <string>

namespace {

const wchar_t kClsidText[] = L"{EA26F7CF-EAD2-4E19-9965-6B32D31917F6}";
const wchar_t kProgId[] = L"QnPropStorageTest.Streams";

HINSTANCE g_module = nullptr;
LONG g_locks = 0;

enum : DISPID {
    kCreateFileStream = 1, kOpenFileStream, kRewind, kStreamText, kSetStreamText, kClose
};

struct Member {
    const wchar_t* name;
    DISPID id;
    UINT arguments;
};
const Member kMembers[] = {
    {L"CreateFileStream", kCreateFileStream, 2}, {L"OpenFileStream", kOpenFileStream, 3},
    {L"Rewind", kRewind, 1}, {L"StreamText", kStreamText, 1},
    {L"SetStreamText", kSetStreamText, 2}, {L"Close", kClose, 0}};

// Arguments arrive last first; VBScript passes its variables by reference, which the conversion
// looks through.
HRESULT Argument(const DISPPARAMS& params, UINT index, VARTYPE type, com::UniqueVariant& value,
                 UINT* argumentError) {
    const UINT position = params.cArgs - 1 - index;
    const HRESULT hr = ::VariantChangeType(value.put(), &params.rgvarg[position], 0, type);
    if (FAILED(hr) && argumentError) *argumentError = position;
    return hr;
}

HRESULT StreamArgument(const DISPPARAMS& params, UINT index, com::ComPtr<IStream>& stream,
                       UINT* argumentError) {
    com::UniqueVariant value;
    HRESULT hr = Argument(params, index, VT_UNKNOWN, value, argumentError);
    if (FAILED(hr)) return hr;
    stream = com::ComPtr<IUnknown>(V_UNKNOWN(&value.get())).try_query<IStream>();
    if (stream) return S_OK;
    if (argumentError) *argumentError = params.cArgs - 1 - index;
    return DISP_E_TYPEMISMATCH;
}

HRESULT SeekTo(IStream* stream, LONGLONG offset) {
    LARGE_INTEGER position;
    position.QuadPart = offset;
    return stream->Seek(position, STREAM_SEEK_SET, nullptr);
}

// The whole content from the start, decoded as UTF-8; the position is put back where it was, so
// looking at a stream does not change what the library reads next.
HRESULT ReadText(IStream* stream, VARIANT* result) {
    LARGE_INTEGER none{};
    ULARGE_INTEGER position;
    STATSTG stat;
    HRESULT hr = stream->Seek(none, STREAM_SEEK_CUR, &position);
    if (SUCCEEDED(hr)) hr = stream->Stat(&stat, STATFLAG_NONAME);
    if (SUCCEEDED(hr)) hr = SeekTo(stream, 0);
    if (FAILED(hr)) return hr;
    std::string bytes(static_cast<size_t>(stat.cbSize.QuadPart), '\0');
    ULONG read = 0;
    if (!bytes.empty()) hr = stream->Read(&bytes[0], static_cast<ULONG>(bytes.size()), &read);
    if (SUCCEEDED(hr)) hr = SeekTo(stream, static_cast<LONGLONG>(position.QuadPart));
    if (FAILED(hr)) return hr;
    const int size = static_cast<int>(read);
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
    com::UniqueBstr text(::SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (!text) return E_OUTOFMEMORY;
    ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, text.get(), length);
    V_VT(result) = VT_BSTR;
    V_BSTR(result) = text.release();
    return S_OK;
}

// Replaces the content and rewinds, so the planted document is what the next read sees.
HRESULT WriteText(IStream* stream, BSTR text) {
    const int length = static_cast<int>(com::BstrLength(text));
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    if (size > 0) ::WideCharToMultiByte(CP_UTF8, 0, text, length, &bytes[0], size, nullptr, nullptr);
    ULARGE_INTEGER empty{};
    HRESULT hr = stream->SetSize(empty);
    if (SUCCEEDED(hr)) hr = SeekTo(stream, 0);
    if (SUCCEEDED(hr) && !bytes.empty())
        hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    if (SUCCEEDED(hr)) hr = SeekTo(stream, 0);
    return hr;
}

class Streams final : public IDispatch {
public:
    Streams() { ::InterlockedIncrement(&g_locks); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (riid != IID_IUnknown && riid != IID_IDispatch) return E_NOINTERFACE;
        *object = static_cast<IDispatch*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ::InterlockedIncrement(&references_); }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = ::InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info) *info = nullptr;
        return DISP_E_BADINDEX;
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        if (!names || !ids) return E_POINTER;
        for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        // No member takes named arguments, so only the member's own name can be known.
        for (const Member& member : kMembers)
            if (count > 0 && com::NamesEqual(names[0], member.name)) ids[0] = member.id;
        return count == 1 && ids[0] != DISPID_UNKNOWN ? S_OK : DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params,
                        VARIANT* result, EXCEPINFO*, UINT* argumentError) override {
        if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
        if (!params) return E_POINTER;
        // JScript asks for a method or property get at once when it uses the result.
        if (!(flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET))) return DISP_E_MEMBERNOTFOUND;
        const Member* member = nullptr;
        for (const Member& candidate : kMembers)
            if (candidate.id == id) member = &candidate;
        if (!member) return DISP_E_MEMBERNOTFOUND;
        if (params->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
        if (params->cArgs != member->arguments) return DISP_E_BADPARAMCOUNT;
        com::UniqueVariant answer;
        const HRESULT hr = Call(id, *params, answer.get(), argumentError);
        if (SUCCEEDED(hr) && result) answer.release(result);
        return hr;
    }

private:
    ~Streams() { ::InterlockedDecrement(&g_locks); }

    HRESULT Call(DISPID id, const DISPPARAMS& params, VARIANT& result, UINT* argumentError) {
        if (id == kClose) {
            storage_.reset();
            return S_OK;
        }
        if (id == kCreateFileStream || id == kOpenFileStream)
            return OpenFileStream(id == kCreateFileStream, params, result, argumentError);
        com::ComPtr<IStream> stream;
        HRESULT hr = StreamArgument(params, 0, stream, argumentError);
        if (FAILED(hr)) return hr;
        if (id == kRewind) return SeekTo(stream.get(), 0);
        if (id == kStreamText) return ReadText(stream.get(), &result);
        com::UniqueVariant text;
        if (FAILED(hr = Argument(params, 1, VT_BSTR, text, argumentError))) return hr;
        return WriteText(stream.get(), V_BSTR(&text.get()));
    }

    // A compound file is opened exclusively, so the file held so far is closed first; a stream
    // handed out from it stops working then. Streams do not keep their storage alive, so this
    // object holds it for as long as the newest stream is in use.
    HRESULT OpenFileStream(bool creating, const DISPPARAMS& params, VARIANT& result,
                           UINT* argumentError) {
        storage_.reset();
        com::UniqueVariant path, name, readOnly;
        HRESULT hr = Argument(params, 0, VT_BSTR, path, argumentError);
        if (SUCCEEDED(hr)) hr = Argument(params, 1, VT_BSTR, name, argumentError);
        if (SUCCEEDED(hr) && !creating) hr = Argument(params, 2, VT_BOOL, readOnly, argumentError);
        if (FAILED(hr)) return hr;
        const BSTR file = V_BSTR(&path.get()), streamName = V_BSTR(&name.get());
        const bool reading = !creating && V_BOOL(&readOnly.get());
        const DWORD mode = (reading ? STGM_READ : STGM_READWRITE) | STGM_SHARE_EXCLUSIVE;
        com::ComPtr<IStorage> storage;
        com::ComPtr<IStream> stream;
        if (creating) {
            hr = ::StgCreateDocfile(file, mode | STGM_CREATE, 0, storage.put());
            if (SUCCEEDED(hr))
                hr = storage->CreateStream(streamName, mode | STGM_CREATE, 0, 0, stream.put());
        } else {
            hr = ::StgOpenStorage(file, nullptr, mode, nullptr, 0, storage.put());
            if (SUCCEEDED(hr)) hr = storage->OpenStream(streamName, nullptr, mode, 0, stream.put());
        }
        if (FAILED(hr)) return hr;
        storage_ = storage;
        V_VT(&result) = VT_UNKNOWN;
        V_UNKNOWN(&result) = stream.detach();
        return S_OK;
    }

    LONG references_ = 1;
    com::ComPtr<IStorage> storage_;
};

class ClassFactory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
        *object = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    // A static object: its references keep nothing alive.
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
        if (lock)
            ::InterlockedIncrement(&g_locks);
        else
            ::InterlockedDecrement(&g_locks);
        return S_OK;
    }
};

ClassFactory g_factory;

HRESULT SetKeyValue(const std::wstring& key, const wchar_t* name, const wchar_t* value) {
    HKEY handle = nullptr;
    LONG rc = ::RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                nullptr, &handle, nullptr);
    if (rc != ERROR_SUCCESS) return HRESULT_FROM_WIN32(rc);
    const DWORD bytes = static_cast<DWORD>((wcslen(value) + 1) * sizeof(wchar_t));
    rc = ::RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), bytes);
    ::RegCloseKey(handle);
    return HRESULT_FROM_WIN32(rc);
}

// Keys that are already gone are what removal wants.
HRESULT DeleteKey(const std::wstring& key) {
    const LONG rc = ::RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    return rc == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(rc);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        g_module = instance;
        ::DisableThreadLibraryCalls(instance);
    }
    return TRUE;
}

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
    const DWORD length = ::GetModuleFileNameW(g_module, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) return HRESULT_FROM_WIN32(::GetLastError());
    const std::wstring clsid = std::wstring(L"CLSID\\") + kClsidText;
    const std::wstring server = clsid + L"\\InprocServer32";
    HRESULT hr = SetKeyValue(std::wstring(kProgId) + L"\\CLSID", nullptr, kClsidText);
    if (SUCCEEDED(hr)) hr = SetKeyValue(clsid, nullptr, kProgId);
    if (SUCCEEDED(hr)) hr = SetKeyValue(clsid + L"\\ProgID", nullptr, kProgId);
    if (SUCCEEDED(hr)) hr = SetKeyValue(server, nullptr, path);
    if (SUCCEEDED(hr)) hr = SetKeyValue(server, L"ThreadingModel", L"Apartment");
    return hr;
}

STDAPI DllUnregisterServer() {
    const HRESULT hr = DeleteKey(kProgId);
    const HRESULT clsid = DeleteKey(std::wstring(L"CLSID\\") + kClsidText);
    return FAILED(hr) ? hr : clsid;
}
