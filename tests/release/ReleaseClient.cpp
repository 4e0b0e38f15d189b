// A host that knows the library only by its identities and its type library: it creates the
// storage class by class identifier and by both ProgIDs, and calls it through dispatch. The release
// checks run it registration-free, against an installed package and against a registered one.
// One line per way of creation; the first failure prints its HRESULT and ends with exit code 1.
#include <cstdio>
#include <string>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"
#include "com/UniqueVariant.h"

namespace {

using com::UniqueVariant;

struct Failure {
    const char* step;
    HRESULT hr;
};

void Check(HRESULT hr, const char* step) {
    if (FAILED(hr)) throw Failure{step, hr};
}

// A property put when `argument` is given, else a get or, with `method`, a call without arguments.
UniqueVariant Invoke(IDispatch* object, const wchar_t* name, VARIANT* argument = nullptr, bool method = false) {
    DISPID id = DISPID_UNKNOWN, putId = DISPID_PROPERTYPUT;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    Check(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), "GetIDsOfNames");
    const bool put = argument && !method;
    DISPPARAMS params{argument, put ? &putId : nullptr, argument ? 1u : 0u, put ? 1u : 0u};
    const WORD flags = method ? DISPATCH_METHOD : put ? DISPATCH_PROPERTYPUT : DISPATCH_PROPERTYGET;
    UniqueVariant result;
    Check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, put ? nullptr : result.put(), nullptr,
                         nullptr), "Invoke");
    return result;
}

// Makes a table through the storage object and reads two of its properties back.
void UseStorage(const CLSID& clsid, const std::string& label) {
    com::ComPtr<IDispatch> storage;
    Check(::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, storage.put_void()),
          "CoCreateInstance");
    UniqueVariant type = UniqueVariant::Int(qnpsObjType_Table), application = UniqueVariant::Text(L"Release");
    UniqueVariant table = Invoke(storage.get(), L"CreateQnPSObject", &type.get(), true);
    if (table.type() != VT_DISPATCH || !table.get().pdispVal) throw Failure{"CreateQnPSObject", S_FALSE};
    Invoke(table.get().pdispVal, L"Application", &application.get());
    UniqueVariant typeRead = Invoke(table.get().pdispVal, L"Type");
    UniqueVariant applicationRead = Invoke(table.get().pdispVal, L"Application");
    Check(::VariantChangeType(&typeRead.get(), &typeRead.get(), 0, VT_I4), "Type as VT_I4");
    if (applicationRead.type() != VT_BSTR) throw Failure{"Application as VT_BSTR", DISP_E_TYPEMISMATCH};
    std::printf("%s: Type %ld, Application %ls\n", label.c_str(), typeRead.get().lVal, applicationRead.get().bstrVal);
}

}  // namespace

int main() {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    int result = 0;
    std::string current = "CLSID";
    try {
        UseStorage(CLSID_CQnPropStorage, current);
        for (const char* progId : {"QnPropStorage.CQnPropStorage.1", "QnPropStorage.CQnPropStorage"}) {
            // Through a manifest a ProgID may answer an alias of the class identifier: only what
            // the object does is compared, never the identifier.
            CLSID clsid;
            current = progId;
            Check(::CLSIDFromProgID(std::wstring(current.begin(), current.end()).c_str(), &clsid), "CLSIDFromProgID");
            UseStorage(clsid, current);
        }
        current = "type library";
        com::ComPtr<ITypeLib> library;
        Check(::LoadRegTypeLib(LIBID_QnPropStorageLib, 1, 0, LOCALE_NEUTRAL, library.put()), "LoadRegTypeLib");
        com::UniqueBstr name;
        Check(library->GetDocumentation(-1, name.put(), nullptr, nullptr, nullptr), "GetDocumentation");
        std::printf("type library: %ls\n", name.get());
    } catch (const Failure& failure) {
        std::printf("%s: %s failed: 0x%08lX\n", current.c_str(), failure.step, static_cast<unsigned long>(failure.hr));
        result = 1;
    }
    ::CoUninitialize();
    return result;
}
