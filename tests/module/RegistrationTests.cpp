// Registration and removal through the platform's regsvr32, checked by reading the registry.
#include <string>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

const std::wstring clsid = QNPS_CLSID_TEXT, appId = QNPS_APPID_TEXT, libId = QNPS_LIBID_TEXT;
const std::wstring clsidKey = L"CLSID\\" + clsid, progId = L"QnPropStorage.CQnPropStorage";
constexpr wchar_t kMissing[] = L"<missing>";

const std::wstring& DllPath() { return arguments.at(0); }

// The text of a REG_SZ value (the default one without a name), kMissing when there is none.
std::wstring ValueText(const std::wstring& path, const wchar_t* name = nullptr) {
    wchar_t buffer[1024];
    DWORD size = sizeof buffer;
    return ::RegGetValueW(HKEY_CLASSES_ROOT, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &size) ==
                   ERROR_SUCCESS ? buffer : kMissing;
}
bool KeyExists(const std::wstring& path) {
    HKEY key = nullptr;
    const bool exists = ::RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (exists) ::RegCloseKey(key);
    return exists;
}

int RunRegsvr32(const wchar_t* option) {
    return _wsystem((L"regsvr32.exe /s " + std::wstring(option) + L" \"" + DllPath() + L"\"").c_str());
}

std::wstring InterfaceKey(const IID& iid) {
    wchar_t text[40];
    ::StringFromGUID2(iid, text, 40);
    return std::wstring(L"Interface\\") + text;
}

void ExpectRegistered() {
    const struct { std::wstring key; const wchar_t* name; std::wstring value; } values[] = {
        {L"AppID\\" + appId, nullptr, L"QnPropStorage"},
        {L"AppID\\QnPropStorage.dll", L"AppID", appId},
        {progId + L".1", nullptr, L"CQnPropStorage Class"},
        {progId + L".1\\CLSID", nullptr, clsid},
        {progId, nullptr, L"CQnPropStorage Class"},
        {progId + L"\\CLSID", nullptr, clsid},
        // The current version names its parts the other way round; hosts have always read it so.
        {progId + L"\\CurVer", nullptr, L"CQnPropStorage.QnPropStorage.1"},
        {clsidKey, nullptr, L"CQnPropStorage Class"},
        {clsidKey + L"\\ProgID", nullptr, progId + L".1"},
        {clsidKey + L"\\VersionIndependentProgID", nullptr, progId},
        {clsidKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
        {clsidKey, L"AppID", appId},
        {clsidKey + L"\\TypeLib", nullptr, libId},
        {L"TypeLib\\" + libId + L"\\1.0", nullptr, L"Quillon Property Storage 1.0 Type Library"},
        {InterfaceKey(IID_IQnPSObject), nullptr, L"IQnPSObject"},
        {InterfaceKey(IID_IQnPSTable), nullptr, L"IQnPSTable"},
    };
    for (const auto& v : values) EXPECT_EQ(v.value, ValueText(v.key, v.name)) << std::string(v.key.begin(), v.key.end());
    EXPECT_TRUE(KeyExists(clsidKey + L"\\Programmable"));
    EXPECT_EQ(0, _wcsicmp(DllPath().c_str(), ValueText(clsidKey + L"\\InprocServer32").c_str()));
}

void ExpectUnregistered() {
    for (const std::wstring& key : {L"AppID\\" + appId, std::wstring(L"AppID\\QnPropStorage.dll"), progId + L".1", progId,
                                    clsidKey, L"TypeLib\\" + libId + L"\\1.0", InterfaceKey(IID_IQnPSObject)}) {
        EXPECT_FALSE(KeyExists(key)) << std::string(key.begin(), key.end());
    }
    // The parents are shared with every other server and stay.
    EXPECT_TRUE(KeyExists(L"AppID"));
    EXPECT_TRUE(KeyExists(L"CLSID"));
}

TEST(Registration, Regsvr32WritesEveryKeyAndRemovalTakesThemAway) {
    ASSERT_EQ(0, RunRegsvr32(L""));
    ExpectRegistered();
    ASSERT_EQ(0, RunRegsvr32(L"/u"));
    ExpectUnregistered();
    // Removing what is already gone succeeds as well.
    EXPECT_EQ(0, RunRegsvr32(L"/u"));
    ExpectUnregistered();
    ASSERT_EQ(0, RunRegsvr32(L""));
    ExpectRegistered();
}

TEST(Registration, TheClassFactoryServesTheStorageClassAlone) {
    HMODULE library = ::LoadLibraryW(DllPath().c_str());
    ASSERT_NE(nullptr, library);
    auto entry = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(::GetProcAddress(library, "DllGetClassObject")));
    ASSERT_NE(nullptr, entry);
    void* factory = reinterpret_cast<void*>(1);
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, entry(CLSID_CQnPSTable, IID_IClassFactory, &factory));
    EXPECT_EQ(nullptr, factory);
    ComPtr<IClassFactory> storageFactory;
    ASSERT_EQ(S_OK, entry(CLSID_CQnPropStorage, IID_IClassFactory, storageFactory.put_void()));
    EXPECT_EQ(S_OK, storageFactory->LockServer(TRUE));
    EXPECT_EQ(S_FALSE, ModuleCanUnloadNow());
    EXPECT_EQ(S_OK, storageFactory->LockServer(FALSE));
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
    ComPtr<IUnknown> aggregated;
    EXPECT_EQ(CLASS_E_NOAGGREGATION,
              storageFactory->CreateInstance(reinterpret_cast<IUnknown*>(1), IID_IUnknown, aggregated.put_void()));
    // The object made for an interface it lacks is gone again.
    void* wrong = reinterpret_cast<void*>(1);
    EXPECT_EQ(E_NOINTERFACE, storageFactory->CreateInstance(nullptr, IID_IClassFactory, &wrong));
    EXPECT_EQ(nullptr, wrong);
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
    EXPECT_EQ(E_NOINTERFACE, storageFactory->QueryInterface(IID_IDispatch, &wrong));
    EXPECT_EQ(nullptr, wrong);
    storageFactory.reset();
    ::FreeLibrary(library);
}

}  // namespace
