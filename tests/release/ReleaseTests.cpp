// Both architectures' DLLs read as files by a 64-bit process: the 32-bit one cannot be loaded
// here, but its version resource and its embedded type library can be read.
//   release_tests X64-DLL X86-DLL
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"

namespace {

std::wstring g_dll[2];  // x64, x86

struct Build {
    const char* name;
    int index;
    SYSKIND kind;
};
const Build kBuilds[] = {{"x64", 0, SYS_WIN64}, {"x86", 1, SYS_WIN32}};
void PrintTo(const Build& build, std::ostream* out) { *out << build.name; }

class ReleaseBuild : public testing::TestWithParam<Build> {};

std::wstring StringValue(const std::vector<BYTE>& block, const std::wstring& name) {
    void* value = nullptr;
    UINT length = 0;
    const std::wstring path = L"\\StringFileInfo\\040904B0\\" + name;
    if (!::VerQueryValueW(block.data(), path.c_str(), &value, &length)) return L"<missing>";
    return static_cast<const wchar_t*>(value);
}

TEST_P(ReleaseBuild, CarriesTheProjectVersionAndNames) {
    const std::wstring& path = g_dll[GetParam().index];
    DWORD unused = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &unused);
    ASSERT_NE(0u, size) << "no version resource";
    std::vector<BYTE> block(size);
    ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, size, block.data()));

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    const DWORD ms = MAKELONG(QNPS_VERSION_MINOR, QNPS_VERSION_MAJOR);
    const DWORD ls = MAKELONG(QNPS_VERSION_TWEAK, QNPS_VERSION_PATCH);
    EXPECT_EQ(ms, fixed->dwFileVersionMS);
    EXPECT_EQ(ls, fixed->dwFileVersionLS);
    EXPECT_EQ(ms, fixed->dwProductVersionMS);
    EXPECT_EQ(ls, fixed->dwProductVersionLS);
    EXPECT_EQ(static_cast<DWORD>(VFT_DLL), fixed->dwFileType);

    const struct {
        const wchar_t* name;
        std::wstring expected;
    } strings[] = {{L"FileVersion", QNPS_VERSION_TEXT},
                   {L"ProductVersion", QNPS_VERSION_TEXT},
                   {L"ProductName", L"QnPropStorage"},
                   {L"FileDescription", L"QnPropStorage property table storage"},
                   {L"OriginalFilename", L"QnPropStorage.dll"}};
    for (const auto& s : strings) EXPECT_EQ(s.expected, StringValue(block, s.name)) << s.name;
}

TEST_P(ReleaseBuild, EmbedsTheTypeLibraryOfItsArchitecture) {
    com::ComPtr<ITypeLib> library;
    ASSERT_EQ(S_OK, ::LoadTypeLibEx(g_dll[GetParam().index].c_str(), REGKIND_NONE, library.put()));
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, library->GetLibAttr(&attributes));
    EXPECT_EQ(GetParam().kind, attributes->syskind);
    EXPECT_TRUE(IsEqualGUID(LIBID_QnPropStorageLib, attributes->guid));
    EXPECT_EQ(1, attributes->wMajorVerNum);
    EXPECT_EQ(0, attributes->wMinorVerNum);
    library->ReleaseTLibAttr(attributes);
}

INSTANTIATE_TEST_SUITE_P(Both, ReleaseBuild, testing::ValuesIn(kBuilds),
                         [](const testing::TestParamInfo<Build>& info) { return info.param.name; });

struct TypeSummary {
    std::wstring name;
    GUID guid;
    TYPEKIND kind;
    WORD functions, variables, implemented, flags;
};

std::vector<TypeSummary> Summaries(const std::wstring& path) {
    com::ComPtr<ITypeLib> library;
    EXPECT_EQ(S_OK, ::LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.put()));
    std::vector<TypeSummary> types;
    if (!library) return types;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        com::ComPtr<ITypeInfo> info;
        com::UniqueBstr name;
        TYPEATTR* a = nullptr;
        if (FAILED(library->GetTypeInfo(i, info.put())) ||
            FAILED(library->GetDocumentation(i, name.put(), nullptr, nullptr, nullptr)) ||
            FAILED(info->GetTypeAttr(&a))) {
            ADD_FAILURE() << "type info " << i << " unreadable";
            continue;
        }
        types.push_back({name.get(), a->guid, a->typekind, a->cFuncs, a->cVars, a->cImplTypes,
                         a->wTypeFlags});
        info->ReleaseTypeAttr(a);
    }
    return types;
}

TEST(ReleaseTypeLibraries, DescribeTheSameTypesInBothArchitectures) {
    const std::vector<TypeSummary> x64 = Summaries(g_dll[0]);
    const std::vector<TypeSummary> x86 = Summaries(g_dll[1]);
    ASSERT_EQ(x64.size(), x86.size());
    size_t interfaces = 0;
    for (size_t i = 0; i < x64.size(); ++i) {
        const std::string at = "type " + std::to_string(i);
        EXPECT_EQ(x64[i].name, x86[i].name) << at;
        EXPECT_TRUE(IsEqualGUID(x64[i].guid, x86[i].guid)) << at;
        EXPECT_EQ(x64[i].kind, x86[i].kind) << at;
        EXPECT_EQ(x64[i].functions, x86[i].functions) << at;
        EXPECT_EQ(x64[i].variables, x86[i].variables) << at;
        EXPECT_EQ(x64[i].implemented, x86[i].implemented) << at;
        EXPECT_EQ(x64[i].flags, x86[i].flags) << at;
        if (x64[i].kind == TKIND_DISPATCH && (x64[i].flags & TYPEFLAG_FDUAL)) ++interfaces;
    }
    // IQnPSObject to IQnPropertyStorage: ten dual interfaces.
    EXPECT_EQ(10u, interfaces);
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: release_tests X64-DLL X86-DLL\n");
        return 2;
    }
    for (int i = 0; i < 2; ++i) {
        const std::string path = argv[i + 1];
        g_dll[i].assign(path.begin(), path.end());
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int result = RUN_ALL_TESTS();
    ::CoUninitialize();
    return result;
}
