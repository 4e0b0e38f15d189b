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
    std::string step;
    HRESULT hr;
};

void Check(HRESULT hr, const std::string& step) {
    if (FAILED(hr)) throw Failure{step, hr};
}

UniqueVariant Invoke(IDispatch* object, const wchar_t* name, WORD flags, VARIANT* arg = nullptr) {
    const std::string step = std::string(name, name + wcslen(name));
    DISPID id = DISPID_UNKNOWN, putId = DISPID_PROPERTYPUT;
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    Check(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), "GetIDsOfNames(" + step + ")");
    const bool put = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS params{arg, put ? &putId : nullptr, arg ? 1u : 0u, put ? 1u : 0u};
    UniqueVariant result;
    Check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, put ? nullptr : result.put(), nullptr,
                         nullptr), "Invoke(" + step + ")");
    return result;
}

// Makes a table through the storage object and reads two of its properties back.
void UseStorage(const CLSID& clsid, const char* label) {
    com::ComPtr<IDispatch> storage;
    Check(::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, storage.put_void()),
          "CoCreateInstance");
    VARIANT type{};
    type.vt = VT_I4;
    type.lVal = qnpsObjType_Table;
    UniqueVariant table = Invoke(storage.get(), L"CreateQnPSObject", DISPATCH_METHOD, &type);
    if (table.get().vt != VT_DISPATCH || !table.get().pdispVal) throw Failure{"CreateQnPSObject", S_FALSE};
    UniqueVariant application;
    application.get().vt = VT_BSTR;
    application.get().bstrVal = ::SysAllocString(L"Release");
    Invoke(table.get().pdispVal, L"Application", DISPATCH_PROPERTYPUT, &application.get());
    UniqueVariant typeRead = Invoke(table.get().pdispVal, L"Type", DISPATCH_PROPERTYGET);
    UniqueVariant applicationRead = Invoke(table.get().pdispVal, L"Application", DISPATCH_PROPERTYGET);
    Check(::VariantChangeType(&typeRead.get(), &typeRead.get(), 0, VT_I4), "Type as VT_I4");
    if (applicationRead.get().vt != VT_BSTR) throw Failure{"Application as VT_BSTR", DISP_E_TYPEMISMATCH};
    std::printf("%s: Type %ld, Application %ls\n", label, typeRead.get().lVal, applicationRead.get().bstrVal);
}

}  // namespace

int main() {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const wchar_t* progIds[] = {nullptr, L"QnPropStorage.CQnPropStorage.1", L"QnPropStorage.CQnPropStorage"};
    int result = 0;
    std::string current;
    try {
        for (const wchar_t* progId : progIds) {
            current = progId ? std::string(progId, progId + wcslen(progId)) : "CLSID";
            // Through a manifest a ProgID may answer an alias of the class identifier: only what
            // the object does is compared, never the identifier.
            CLSID clsid = CLSID_CQnPropStorage;
            if (progId) Check(::CLSIDFromProgID(progId, &clsid), "CLSIDFromProgID");
            UseStorage(clsid, current.c_str());
        }
        current = "type library";
        com::ComPtr<ITypeLib> library;
        Check(::LoadRegTypeLib(LIBID_QnPropStorageLib, 1, 0, LOCALE_NEUTRAL, library.put()), "LoadRegTypeLib");
        com::UniqueBstr name;
        Check(library->GetDocumentation(-1, name.put(), nullptr, nullptr, nullptr), "GetDocumentation");
        std::printf("type library: %ls\n", name.get());
    } catch (const Failure& failure) {
        std::printf("%s: %s failed: 0x%08lX\n", current.c_str(), failure.step.c_str(),
                    static_cast<unsigned long>(failure.hr));
        result = 1;
    }
    ::CoUninitialize();
    return result;
}
