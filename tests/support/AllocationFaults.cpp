#include "support/AllocationFaults.h"

#include <cstdlib>
#include <cstring>

namespace qnps_test::AllocationFaults {
namespace {

bool armed = false, failFrom = false;
long failAt = 0, calls = 0;
const char* failed = nullptr;

bool Fails(const char* name) {
    if (!armed || (++calls != failAt && !(failFrom && calls > failAt))) return false;
    failed = name;
    return true;
}

// The import as the loader resolved it, and its replacement that fails on demand.
#define QNPS_HOOK(ret, cc, name, params, args, failure)                                          \
    ret(cc* real_##name) params;                                                                 \
    ret cc Fail_##name params { return Fails(#name) ? (failure) : real_##name args; }

QNPS_HOOK(void*, __cdecl, malloc, (size_t n), (n), nullptr)
QNPS_HOOK(void*, __cdecl, calloc, (size_t c, size_t n), (c, n), nullptr)
QNPS_HOOK(void*, __cdecl, realloc, (void* p, size_t n), (p, n), nullptr)
QNPS_HOOK(char*, __cdecl, _strdup, (const char* t), (t), nullptr)
QNPS_HOOK(BSTR, WINAPI, SysAllocString, (const OLECHAR* t), (t), nullptr)
QNPS_HOOK(BSTR, WINAPI, SysAllocStringLen, (const OLECHAR* t, UINT n), (t, n), nullptr)
QNPS_HOOK(BSTR, WINAPI, SysAllocStringByteLen, (LPCSTR t, UINT n), (t, n), nullptr)
QNPS_HOOK(SAFEARRAY*, WINAPI, SafeArrayCreate, (VARTYPE v, UINT d, SAFEARRAYBOUND* b), (v, d, b), nullptr)
QNPS_HOOK(SAFEARRAY*, WINAPI, SafeArrayCreateVector, (VARTYPE v, LONG l, ULONG n), (v, l, n), nullptr)
QNPS_HOOK(HRESULT, WINAPI, SafeArrayRedim, (SAFEARRAY* a, SAFEARRAYBOUND* b), (a, b), E_OUTOFMEMORY)
// A copy that cannot allocate has cleared its target already, as the platform's does.
QNPS_HOOK(HRESULT, WINAPI, VariantCopy, (VARIANTARG* t, const VARIANTARG* s), (t, s),
          (t != s ? ::VariantClear(t) : S_OK, E_OUTOFMEMORY))
QNPS_HOOK(HRESULT, WINAPI, VariantCopyInd, (VARIANT* t, const VARIANTARG* s), (t, s),
          (t != s ? ::VariantClear(t) : S_OK, E_OUTOFMEMORY))
QNPS_HOOK(HRESULT, WINAPI, CoCreateInstance, (REFCLSID c, LPUNKNOWN u, DWORD x, REFIID i, LPVOID* o),
          (c, u, x, i, o), (o ? *o = nullptr : nullptr, E_OUTOFMEMORY))
HRESULT(WINAPI* real_VariantChangeType)(VARIANTARG*, const VARIANTARG*, USHORT, VARTYPE);
// Only a conversion to text allocates.
HRESULT WINAPI Fail_VariantChangeType(VARIANTARG* t, const VARIANTARG* s, USHORT f, VARTYPE v) {
    return v == VT_BSTR && Fails("VariantChangeType") ? E_OUTOFMEMORY : real_VariantChangeType(t, s, f, v);
}

struct Hook {
    const char* name;
    void** real;
    void* replacement;
};
#define QNPS_ENTRY(name) {#name, reinterpret_cast<void**>(&real_##name), reinterpret_cast<void*>(&Fail_##name)}

}  // namespace

void Install(HMODULE library) {
    const Hook hooks[] = {QNPS_ENTRY(malloc), QNPS_ENTRY(calloc), QNPS_ENTRY(realloc), QNPS_ENTRY(_strdup),
                          QNPS_ENTRY(SysAllocString), QNPS_ENTRY(SysAllocStringLen),
                          QNPS_ENTRY(SysAllocStringByteLen), QNPS_ENTRY(SafeArrayCreate),
                          QNPS_ENTRY(SafeArrayCreateVector), QNPS_ENTRY(SafeArrayRedim), QNPS_ENTRY(VariantCopy),
                          QNPS_ENTRY(VariantCopyInd), QNPS_ENTRY(VariantChangeType), QNPS_ENTRY(CoCreateInstance)};
    BYTE* base = reinterpret_cast<BYTE*>(library);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* module = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); module->Name; ++module) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->OriginalFirstThunk);
        auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
            const char* name = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData)->Name;
            for (const Hook& hook : hooks) {
                if (std::strcmp(name, hook.name) != 0) continue;
                DWORD protection = 0;
                ::VirtualProtect(&slots->u1.Function, sizeof slots->u1.Function, PAGE_READWRITE, &protection);
                *hook.real = reinterpret_cast<void*>(slots->u1.Function);
                slots->u1.Function = reinterpret_cast<ULONG_PTR>(hook.replacement);
                ::VirtualProtect(&slots->u1.Function, sizeof slots->u1.Function, protection, &protection);
            }
        }
    }
}

void Arm(long at, bool from) {
    calls = 0, failAt = at, failFrom = from, failed = nullptr, armed = true;
}
void Disarm() { armed = false; }
long Calls() { return calls; }
std::string Failed() { return failed ? failed : ""; }

}  // namespace qnps_test::AllocationFaults
