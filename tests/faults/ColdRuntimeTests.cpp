// Runs alone in its process: the library's runtime must not have thrown anything before.
#include "support/AllocationFaults.h"
#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

TEST(ColdRuntime, TheFirstAllocationOfTheProcessFailsWithoutTakingItDown) {
    ASSERT_EQ(nullptr, ::GetModuleHandleW(L"QnPropStorage.dll")) << "run this test in a process of its own";
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(S_OK, ::CoGetClassObject(CLSID_CQnPropStorage, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                                       factory.put_void()));
    AllocationFaults::Install(::GetModuleHandleW(L"QnPropStorage.dll"));
    ComPtr<IQnPropertyStorage> storage;
    AllocationFaults::Arm(1, true);
    const HRESULT hr = factory->CreateInstance(nullptr, IID_IQnPropertyStorage, storage.put_void());
    AllocationFaults::Disarm();
    EXPECT_EQ(E_OUTOFMEMORY, hr);
    EXPECT_FALSE(storage);
    EXPECT_EQ("malloc", AllocationFaults::Failed());

    ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IQnPropertyStorage, storage.put_void()));
    ComPtr<IQnPSObject> table;
    EXPECT_EQ(S_OK, storage->CreateQnPSObject(qnpsObjType_Table, table.put()));
    table.reset();
    storage.reset();
    factory.reset();
    EXPECT_EQ(S_OK, ModuleCanUnloadNow());
}

}  // namespace
