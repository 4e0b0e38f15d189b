#include <climits>

#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class StorageEntry : public ComTest {};

TEST_F(StorageEntry, CreateQnPSObjectRefusesTheBaseAndStorageTypes) {
    for (qnpsObjectType type : {qnpsObjType_QnPSObject, qnpsObjType_QnPropertyStorage}) {
        IQnPSObject* object = Unwritten<IQnPSObject>();
        EXPECT_EQ(static_cast<HRESULT>(0x80048001), storage_->CreateQnPSObject(type, &object));
        EXPECT_EQ(nullptr, object);
    }
}

TEST_F(StorageEntry, CreateQnPSObjectAnswersOutOfRangeTypesWithNoObject) {
    const long outOfRange[] = {9, -1, 100, LONG_MAX, LONG_MIN};
    for (long type : outOfRange) {
        SCOPED_TRACE(type);
        IQnPSObject* object = Unwritten<IQnPSObject>();
        EXPECT_EQ(S_OK, storage_->CreateQnPSObject(static_cast<qnpsObjectType>(type), &object));
        EXPECT_EQ(nullptr, object);
    }
    EXPECT_EQ(E_INVALIDARG, storage_->CreateQnPSObject(qnpsObjType_Table, nullptr));
    EXPECT_EQ(E_INVALIDARG, storage_->CreateQnPSObject(qnpsObjType_QnPSObject, nullptr));
}

}  // namespace
