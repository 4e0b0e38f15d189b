// Registration and removal through the platform's regsvr32, checked by reading the registry.
#include <string>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

std::wstring dllPath;
const std::wstring clsid = QNPS_CLSID_TEXT, appId = QNPS_APPID_TEXT, libId = QNPS_LIBID_TEXT;
const std::wstring clsidKey = L"CLSID\\" + clsid, progId = L"QnPropStorage.CQnPropStorage";
constexpr wchar_t kMissing[] = L"<missing>";

// The text of a REG_SZ value (the default one without a name), kMissing when there is none;
// "<key>" for a key that exists when asked for no value at all.
std::wstring ValueText(const std::wstring& path, const wchar_t* name = nullptr, bool keyOnly = false) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return kMissing;
    wchar_t buffer[1024];
    DWORD size = sizeof buffer, type = 0;
    const bool found = ::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size) ==
                       ERROR_SUCCESS && type == REG_SZ;
    ::RegCloseKey(key);
    return keyOnly ? L"<key>" : found ? std::wstring(buffer, size / sizeof(wchar_t)).c_str() : kMissing;
}
bool KeyExists(const std::wstring& path) { return ValueText(path, nullptr, true) == L"<key>"; }

DWORD RunRegsvr32(const std::wstring& arguments) {
    std::wstring command = L"regsvr32.exe /s " + arguments + L" \"" + dllPath + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        return static_cast<DWORD>(-1);
    }
    DWORD exitCode = static_cast<DWORD>(-1);
    ::WaitForSingleObject(process.hProcess, 60000);
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return exitCode;
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
    EXPECT_EQ(0, _wcsicmp(dllPath.c_str(), ValueText(clsidKey + L"\\InprocServer32").c_str()));
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
    ASSERT_EQ(0u, RunRegsvr32(L""));
    ExpectRegistered();
    ASSERT_EQ(0u, RunRegsvr32(L"/u"));
    ExpectUnregistered();
    // Removing what is already gone succeeds as well.
    EXPECT_EQ(0u, RunRegsvr32(L"/u"));
    ExpectUnregistered();
    ASSERT_EQ(0u, RunRegsvr32(L""));
    ExpectRegistered();
}

TEST(Registration, TheClassFactoryServesTheStorageClassAlone) {
    HMODULE library = ::LoadLibraryW(dllPath.c_str());
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
    storageFactory.reset();
    ::FreeLibrary(library);
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc < 2) return std::fprintf(stderr, "usage: registration_tests PATH-TO-DLL\n"), 2;
    wchar_t full[MAX_PATH];
    const std::wstring given(argv[1], argv[1] + strlen(argv[1]));
    ::GetFullPathNameW(given.c_str(), MAX_PATH, full, nullptr);
    dllPath = full;
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int result = RUN_ALL_TESTS();
    ::CoUninitialize();
    return result;
}
