// Both architectures' DLLs read as files by a 64-bit process: the 32-bit one cannot be loaded
// here, but its version resource and its embedded type library can be read.
//   release_tests X64-DLL X86-DLL
#include <algorithm>

#include "support/ComTestSupport.h"

namespace {

using qnps_test::arguments;  // the x64 DLL, the x86 DLL
const SYSKIND kKinds[] = {SYS_WIN64, SYS_WIN32};

class ReleaseBuild : public testing::TestWithParam<int> {};

TEST_P(ReleaseBuild, CarriesTheProjectVersionAndNames) {
    const std::wstring& path = arguments.at(GetParam());
    DWORD unused = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &unused);
    ASSERT_NE(0u, size) << "no version resource";
    std::vector<BYTE> block(size);
    ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, size, block.data()));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    const DWORD ms = MAKELONG(QNPS_VERSION_MINOR, QNPS_VERSION_MAJOR), ls = MAKELONG(QNPS_VERSION_TWEAK, QNPS_VERSION_PATCH);
    EXPECT_EQ(ms, fixed->dwFileVersionMS);
    EXPECT_EQ(ls, fixed->dwFileVersionLS);
    EXPECT_EQ(ms, fixed->dwProductVersionMS);
    EXPECT_EQ(ls, fixed->dwProductVersionLS);
    EXPECT_EQ(static_cast<DWORD>(VFT_DLL), fixed->dwFileType);
    const std::pair<const wchar_t*, std::wstring> strings[] = {
        {L"FileVersion", QNPS_VERSION_TEXT}, {L"ProductVersion", QNPS_VERSION_TEXT},
        {L"ProductName", L"QnPropStorage"}, {L"FileDescription", L"QnPropStorage property table storage"},
        {L"OriginalFilename", L"QnPropStorage.dll"}};
    for (const auto& [name, expected] : strings) {
        void* value = nullptr;
        const std::wstring query = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
        EXPECT_EQ(expected, ::VerQueryValueW(block.data(), query.c_str(), &value, &length)
                                ? static_cast<const wchar_t*>(value) : L"<missing>") << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Both, ReleaseBuild, testing::Values(0, 1),
                         [](const testing::TestParamInfo<int>& info) { return info.param ? "x86" : "x64"; });

// The type library embedded in the DLL of `architecture`, checked to be the project's of that
// architecture; then each type as one text: name, identifier, kind, counts of functions, variables
// and implemented interfaces, flags; "dual" for a dual dispatch interface, "class" for a class, with
// a "+" when hosts may create it.
std::vector<std::wstring> Summaries(int architecture) {
    com::ComPtr<ITypeLib> library;
    EXPECT_EQ(S_OK, ::LoadTypeLibEx(arguments.at(architecture).c_str(), REGKIND_NONE, library.put()));
    TLIBATTR* attributes = nullptr;
    if (!library || FAILED(library->GetLibAttr(&attributes))) return {L"no type library"};
    EXPECT_EQ(kKinds[architecture], attributes->syskind);
    EXPECT_TRUE(IsEqualGUID(LIBID_QnPropStorageLib, attributes->guid));
    EXPECT_EQ(L"1.0", std::to_wstring(attributes->wMajorVerNum) + L"." + std::to_wstring(attributes->wMinorVerNum));
    library->ReleaseTLibAttr(attributes);
    std::vector<std::wstring> types;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        com::ComPtr<ITypeInfo> info;
        com::UniqueBstr name;
        TYPEATTR* a = nullptr;
        wchar_t guid[40] = L"";
        if (FAILED(library->GetTypeInfo(i, info.put())) ||
            FAILED(library->GetDocumentation(i, name.put(), nullptr, nullptr, nullptr)) ||
            FAILED(info->GetTypeAttr(&a))) {
            ADD_FAILURE() << "type info " << i << " unreadable";
            continue;
        }
        ::StringFromGUID2(a->guid, guid, 40);
        types.push_back(std::wstring(name.get()) + L" " + guid + L" " + std::to_wstring(a->typekind) + L" " +
                        std::to_wstring(a->cFuncs) + L" " + std::to_wstring(a->cVars) + L" " +
                        std::to_wstring(a->cImplTypes) + L" " + std::to_wstring(a->wTypeFlags) +
                        (a->typekind == TKIND_DISPATCH && (a->wTypeFlags & TYPEFLAG_FDUAL) ? L" dual" : L"") +
                        (a->typekind != TKIND_COCLASS ? L"" : a->wTypeFlags & TYPEFLAG_FCANCREATE ? L" class+" : L" class"));
        info->ReleaseTypeAttr(a);
    }
    return types;
}

TEST(ReleaseTypeLibraries, DescribeTheSameTypesInBothArchitectures) {
    const std::vector<std::wstring> x64 = Summaries(0);
    EXPECT_EQ(x64, Summaries(1));
    // IQnPSObject to IQnPropertyStorage: ten dual interfaces.
    EXPECT_EQ(10, std::count_if(x64.begin(), x64.end(), [](const std::wstring& t) { return t.find(L" dual") != std::wstring::npos; }));
    std::wstring classes;
    for (const std::wstring& t : x64) {
        if (const size_t at = t.find(L" class"); at != std::wstring::npos) classes += L" " + t.substr(0, t.find(L' ')) + t.substr(at + 6);
    }
    EXPECT_EQ(L" CQnPSObject CQnPSTable CQnPSObjCollection CQnPSColumnDef CQnPSColumnDefCollection CQnPSProperty"
              L" CQnPSRow CQnPSRowCollection CQnPropStorage+", classes);
}

}  // namespace
