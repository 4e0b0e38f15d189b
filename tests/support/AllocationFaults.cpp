#include "support/AllocationFaults.h"

#include <cstdlib>
#include <cstring>

namespace qnps_test::AllocationFaults {
namespace {

bool armed = false;
bool failFrom = false;
long failAt = 0;
long calls = 0;
const char* failed = nullptr;

bool Fails(const char* name) {
    if (!armed) return false;
    ++calls;
    if (calls != failAt && !(failFrom && calls > failAt)) return false;
    failed = name;
    return true;
}

// The library's own imports, saved as the loader resolved them.
void* (__cdecl* realMalloc)(size_t);
void* (__cdecl* realCalloc)(size_t, size_t);
void* (__cdecl* realRealloc)(void*, size_t);
char* (__cdecl* realStrdup)(const char*);
BSTR(WINAPI* realSysAllocString)(const OLECHAR*);
BSTR(WINAPI* realSysAllocStringLen)(const OLECHAR*, UINT);
BSTR(WINAPI* realSysAllocStringByteLen)(LPCSTR, UINT);
SAFEARRAY*(WINAPI* realSafeArrayCreate)(VARTYPE, UINT, SAFEARRAYBOUND*);
SAFEARRAY*(WINAPI* realSafeArrayCreateVector)(VARTYPE, LONG, ULONG);
HRESULT(WINAPI* realSafeArrayRedim)(SAFEARRAY*, SAFEARRAYBOUND*);
HRESULT(WINAPI* realVariantCopy)(VARIANTARG*, const VARIANTARG*);
HRESULT(WINAPI* realVariantCopyInd)(VARIANT*, const VARIANTARG*);
HRESULT(WINAPI* realVariantChangeType)(VARIANTARG*, const VARIANTARG*, USHORT, VARTYPE);
HRESULT(WINAPI* realCoCreateInstance)(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID*);

void* __cdecl Malloc(size_t size) { return Fails("malloc") ? nullptr : realMalloc(size); }
void* __cdecl Calloc(size_t count, size_t size) { return Fails("calloc") ? nullptr : realCalloc(count, size); }
void* __cdecl Realloc(void* block, size_t size) { return Fails("realloc") ? nullptr : realRealloc(block, size); }
char* __cdecl Strdup(const char* text) { return Fails("_strdup") ? nullptr : realStrdup(text); }
BSTR WINAPI AllocString(const OLECHAR* text) {
    return Fails("SysAllocString") ? nullptr : realSysAllocString(text);
}
BSTR WINAPI AllocStringLen(const OLECHAR* text, UINT length) {
    return Fails("SysAllocStringLen") ? nullptr : realSysAllocStringLen(text, length);
}
BSTR WINAPI AllocStringByteLen(LPCSTR text, UINT length) {
    return Fails("SysAllocStringByteLen") ? nullptr : realSysAllocStringByteLen(text, length);
}
SAFEARRAY* WINAPI ArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
    return Fails("SafeArrayCreate") ? nullptr : realSafeArrayCreate(type, dimensions, bounds);
}
SAFEARRAY* WINAPI ArrayCreateVector(VARTYPE type, LONG lower, ULONG count) {
    return Fails("SafeArrayCreateVector") ? nullptr : realSafeArrayCreateVector(type, lower, count);
}
HRESULT WINAPI ArrayRedim(SAFEARRAY* array, SAFEARRAYBOUND* bound) {
    return Fails("SafeArrayRedim") ? E_OUTOFMEMORY : realSafeArrayRedim(array, bound);
}
// A copy that cannot allocate has cleared its target already, as the platform's does.
HRESULT WINAPI Copy(VARIANTARG* target, const VARIANTARG* source) {
    if (!Fails("VariantCopy")) return realVariantCopy(target, source);
    if (target != source) ::VariantClear(target);
    return E_OUTOFMEMORY;
}
HRESULT WINAPI CopyInd(VARIANT* target, const VARIANTARG* source) {
    if (!Fails("VariantCopyInd")) return realVariantCopyInd(target, source);
    if (target != source) ::VariantClear(target);
    return E_OUTOFMEMORY;
}
// Only a conversion to text allocates.
HRESULT WINAPI ChangeType(VARIANTARG* target, const VARIANTARG* source, USHORT flags, VARTYPE type) {
    if (type == VT_BSTR && Fails("VariantChangeType")) return E_OUTOFMEMORY;
    return realVariantChangeType(target, source, flags, type);
}
HRESULT WINAPI CreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* object) {
    if (!Fails("CoCreateInstance")) return realCoCreateInstance(clsid, outer, context, iid, object);
    if (object) *object = nullptr;
    return E_OUTOFMEMORY;
}

struct Hook {
    const char* name;
    void** real;
    void* replacement;
};

template <class F>
Hook HookOf(const char* name, F*& real, F* replacement) {
    return {name, reinterpret_cast<void**>(&real), reinterpret_cast<void*>(replacement)};
}

}  // namespace

void Install(HMODULE library) {
    const Hook hooks[] = {
        HookOf("malloc", realMalloc, &Malloc),
        HookOf("calloc", realCalloc, &Calloc),
        HookOf("realloc", realRealloc, &Realloc),
        HookOf("_strdup", realStrdup, &Strdup),
        HookOf("SysAllocString", realSysAllocString, &AllocString),
        HookOf("SysAllocStringLen", realSysAllocStringLen, &AllocStringLen),
        HookOf("SysAllocStringByteLen", realSysAllocStringByteLen, &AllocStringByteLen),
        HookOf("SafeArrayCreate", realSafeArrayCreate, &ArrayCreate),
        HookOf("SafeArrayCreateVector", realSafeArrayCreateVector, &ArrayCreateVector),
        HookOf("SafeArrayRedim", realSafeArrayRedim, &ArrayRedim),
        HookOf("VariantCopy", realVariantCopy, &Copy),
        HookOf("VariantCopyInd", realVariantCopyInd, &CopyInd),
        HookOf("VariantChangeType", realVariantChangeType, &ChangeType),
        HookOf("CoCreateInstance", realCoCreateInstance, &CreateInstance),
    };
    BYTE* base = reinterpret_cast<BYTE*>(library);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* module = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress); module->Name;
         ++module) {
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
    calls = 0;
    failAt = at;
    failFrom = from;
    failed = nullptr;
    armed = true;
}

void Disarm() { armed = false; }
long Calls() { return calls; }
std::string Failed() { return failed ? failed : ""; }

}  // namespace qnps_test::AllocationFaults
