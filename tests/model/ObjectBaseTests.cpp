#include "support/ComTestSupport.h"

namespace {

using namespace qnps_test;

class ObjectBase : public ComTest {};

TEST_F(ObjectBase, EveryCreatableTypeReportsItsOwnType) {
    const qnpsObjectType types[] = {qnpsObjType_QnPSCollection, qnpsObjType_QnPSProperty,
                                    qnpsObjType_ColumnDef,       qnpsObjType_Table,
                                    qnpsObjType_ColumnDefCollection, qnpsObjType_Row,
                                    qnpsObjType_RowCollection};
    for (qnpsObjectType type : types) {
        ComPtr<IQnPSObject> object;
        ASSERT_EQ(S_OK, storage_->CreateQnPSObject(type, object.put()));
        qnpsObjectType reported = qnpsObjType_Unknown;
        EXPECT_EQ(S_OK, object->get_Type(&reported));
        EXPECT_EQ(type, reported);
        EXPECT_EQ(E_POINTER, object->get_Type(nullptr));
        EXPECT_EQ(1u, RefCount(object.get()));
    }
    qnpsObjectType own = qnpsObjType_Unknown;
    EXPECT_EQ(S_OK, storage_->get_Type(&own));
    EXPECT_EQ(qnpsObjType_QnPropertyStorage, own);
}

}  // namespace
