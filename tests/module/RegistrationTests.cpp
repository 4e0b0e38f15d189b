// Registration and removal through the platform's regsvr32, checked by reading the registry.
#include <string>
#include <vector>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

std::wstring dllPath;

struct RegistryKey {
    HKEY key = nullptr;
    ~RegistryKey() {
        if (key) ::RegCloseKey(key);
    }
};

bool KeyExists(const std::wstring& path) {
    RegistryKey key;
    return ::RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key.key) == ERROR_SUCCESS;
}

// The text of a value, or "<missing>"; an empty name reads the key's default value.
std::wstring ValueText(const std::wstring& path, const wchar_t* name = nullptr) {
    RegistryKey key;
    if (::RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key.key) != ERROR_SUCCESS) {
        return L"<missing>";
    }
    wchar_t buffer[1024];
    DWORD size = sizeof buffer;
    DWORD type = 0;
    if (::RegQueryValueExW(key.key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
        return L"<missing>";
    }
    return std::wstring(buffer, size / sizeof(wchar_t)).c_str();
}

DWORD RunRegsvr32(const std::wstring& arguments) {
    std::wstring command = L"regsvr32.exe /s " + arguments + L" \"" + dllPath + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &process)) {
        return static_cast<DWORD>(-1);
    }
    ::WaitForSingleObject(process.hProcess, 60000);
    DWORD exitCode = static_cast<DWORD>(-1);
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return exitCode;
}

const std::wstring clsid = QNPS_CLSID_TEXT;
const std::wstring appId = QNPS_APPID_TEXT;
const std::wstring libId = QNPS_LIBID_TEXT;
const std::wstring clsidKey = L"CLSID\\" + clsid;

std::wstring InterfaceKey(const IID& iid) {
    wchar_t text[40];
    ::StringFromGUID2(iid, text, 40);
    return std::wstring(L"Interface\\") + text;
}

void ExpectRegistered() {
    EXPECT_EQ(L"QnPropStorage", ValueText(L"AppID\\" + appId));
    EXPECT_EQ(appId, ValueText(L"AppID\\QnPropStorage.dll", L"AppID"));

    EXPECT_EQ(L"CQnPropStorage Class", ValueText(L"QnPropStorage.CQnPropStorage.1"));
    EXPECT_EQ(clsid, ValueText(L"QnPropStorage.CQnPropStorage.1\\CLSID"));
    EXPECT_EQ(L"CQnPropStorage Class", ValueText(L"QnPropStorage.CQnPropStorage"));
    EXPECT_EQ(clsid, ValueText(L"QnPropStorage.CQnPropStorage\\CLSID"));
    // The current version names its parts the other way round; hosts have always read it so.
    EXPECT_EQ(L"CQnPropStorage.QnPropStorage.1", ValueText(L"QnPropStorage.CQnPropStorage\\CurVer"));

    EXPECT_EQ(L"CQnPropStorage Class", ValueText(clsidKey));
    EXPECT_EQ(L"QnPropStorage.CQnPropStorage.1", ValueText(clsidKey + L"\\ProgID"));
    EXPECT_EQ(L"QnPropStorage.CQnPropStorage", ValueText(clsidKey + L"\\VersionIndependentProgID"));
    EXPECT_TRUE(KeyExists(clsidKey + L"\\Programmable"));
    EXPECT_EQ(0, _wcsicmp(dllPath.c_str(), ValueText(clsidKey + L"\\InprocServer32").c_str()));
    EXPECT_EQ(L"Apartment", ValueText(clsidKey + L"\\InprocServer32", L"ThreadingModel"));
    EXPECT_EQ(appId, ValueText(clsidKey, L"AppID"));
    EXPECT_EQ(libId, ValueText(clsidKey + L"\\TypeLib"));

    EXPECT_EQ(L"Quillon Property Storage 1.0 Type Library", ValueText(L"TypeLib\\" + libId + L"\\1.0"));
    EXPECT_EQ(L"IQnPSObject", ValueText(InterfaceKey(IID_IQnPSObject)));
    EXPECT_EQ(L"IQnPSTable", ValueText(InterfaceKey(IID_IQnPSTable)));
}

void ExpectUnregistered() {
    EXPECT_FALSE(KeyExists(L"AppID\\" + appId));
    EXPECT_FALSE(KeyExists(L"AppID\\QnPropStorage.dll"));
    EXPECT_FALSE(KeyExists(L"QnPropStorage.CQnPropStorage.1"));
    EXPECT_FALSE(KeyExists(L"QnPropStorage.CQnPropStorage"));
    EXPECT_FALSE(KeyExists(clsidKey));
    EXPECT_FALSE(KeyExists(L"TypeLib\\" + libId + L"\\1.0"));
    EXPECT_FALSE(KeyExists(InterfaceKey(IID_IQnPSObject)));
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

TEST(Registration, CreatesThroughBothProgIdsAndRefusesUnknownClasses) {
    for (const wchar_t* progId : {L"QnPropStorage.CQnPropStorage.1", L"QnPropStorage.CQnPropStorage"}) {
        CLSID found{};
        ASSERT_EQ(S_OK, ::CLSIDFromProgID(progId, &found));
        EXPECT_TRUE(::IsEqualCLSID(CLSID_CQnPropStorage, found));
    }
    HMODULE library = ::LoadLibraryW(dllPath.c_str());
    ASSERT_NE(nullptr, library);
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    auto entry = reinterpret_cast<GetClassObject>(
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
    if (argc < 2) {
        fprintf(stderr, "usage: registration_tests PATH-TO-DLL\n");
        return 2;
    }
    wchar_t full[MAX_PATH];
    const std::wstring given(argv[1], argv[1] + strlen(argv[1]));
    ::GetFullPathNameW(given.c_str(), MAX_PATH, full, nullptr);
    dllPath = full;
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int result = RUN_ALL_TESTS();
    ::CoUninitialize();
    return result;
}
