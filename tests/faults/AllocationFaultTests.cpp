// Every allocating call the library makes, failed in turn (alone, and with every later one): over
// building a table, writing it into an empty stream, merging, overwriting, reading, and looking
// values up. Each call ends with E_OUTOFMEMORY and, for a write, the stream's bytes as they were,
// or with S_OK and exactly what a run without failures gives. The two exceptions are kept quirks:
// a Value or CustomProperty put whose copy fails stores nothing and a text getter whose copy
// fails answers a null string, both with S_OK. Nothing outlives a run.
#include <climits>
#include <functional>

#include "persistence/PersistenceSupport.h"
#include "support/AllocationFaults.h"

namespace {

using namespace qnps_test;

#define STEP(call)                                                                      \
    do {                                                                                \
        if (const HRESULT step = (call); step != S_OK && step != S_FALSE) return step;  \
    } while (0)

const std::string kOld = Document(
    "<ColumnDefs><Title DispName=\"Drawing title\"/><Sheets Type=\"INT\"/><Layout/><TabOrder Type=\"INT\"/>"
    "<Due Type=\"DATE\"/></ColumnDefs><Properties>"
    "<Row RowID=\"R1\" Title=\"Ground floor\" Sheets=\"3\" Layout=\"Plan\" TabOrder=\"2\" Due=\"3FF0000000000000\"/>"
    "<Row RowID=\"R2\" Title=\"Roof\" Sheets=\"4\" Layout=\"Section\"/>"
    "<Row RowID=\"R3\" Title=\"Cellar\" Layout=\"Plan\" Due=\"4000000000000000\"/></Properties>");

std::wstring Wide(const std::string& bytes) { return std::wstring(bytes.begin(), bytes.end()); }

class AllocationFailures : public PersistenceTest {
protected:
    void SetUp() override {
        PersistenceTest::SetUp();
        static bool installed = false;
        if (!installed) AllocationFaults::Install(::GetModuleHandleW(L"QnPropStorage.dll"));
        installed = true;
    }

    ComPtr<IQnPSTable> table_;
    ComPtr<IStream> stream_;
    UniqueVariant values_[6];
    ComPtr<IUnknown> objects_[2];
    UniqueBstr text_;
    long tabOrder_ = 0;

    std::wstring DocumentOf(IQnPSTable* table) {
        if (!table) return L"<no table>";
        CompoundFile file;
        auto stream = file.CreateStream();
        EXPECT_EQ(S_OK, storage_->WriteProperties(stream.get(), table, qnpsWriteNormal));
        return Wide(StreamText(stream.get()));
    }
    void Reset() {
        table_.reset(), stream_.reset(), text_.reset(), tabOrder_ = 0;
        for (auto& value : values_) value.reset();
        for (auto& object : objects_) object.reset();
    }

    HRESULT Build() {
        ComPtr<IQnPSObject> object, definitions, rows;
        STEP(storage_->CreateQnPSObject(qnpsObjType_Table, object.put()));
        table_ = object.try_query<IQnPSTable>();
        STEP(storage_->CreateQnPSObject(qnpsObjType_ColumnDefCollection, definitions.put()));
        STEP(storage_->CreateQnPSObject(qnpsObjType_RowCollection, rows.put()));
        STEP(table_->put_ColumnDefs(definitions.try_query<IQnPSColumnDefCollection>().get()));
        STEP(table_->put_Rows(rows.try_query<IQnPSRowCollection>().get()));
        STEP(table_->put_Application(Bstr(L"Drafting").get()));
        const wchar_t* names[] = {L"Title", L"Sheets", L"Due"};
        const qnpsPropertyType types[] = {qnpsPropType_String, qnpsPropType_Int, qnpsPropType_Date};
        ComPtr<IQnPSColumnDef> made[3];
        for (int i = 0; i < 3; ++i) {
            STEP(storage_->CreateQnPSObject(qnpsObjType_ColumnDef, object.put()));
            made[i] = object.try_query<IQnPSColumnDef>();
            STEP(made[i]->put_Name(Bstr(names[i]).get()));
            STEP(made[i]->put_PropType(types[i]));
            STEP(made[i]->put_Order(i));
            STEP(definitions.try_query<IQnPSColumnDefCollection1>()->AddDefinition(made[i].get()));
        }
        const UniqueVariant values[] = {VariantOf(L"Ground floor"), VariantOf(12L), VariantOfDouble(2.5)};
        for (const wchar_t* id : {L"R1", L"R2"}) {
            ComPtr<IQnPSObject> row, cell;
            STEP(storage_->CreateQnPSObject(qnpsObjType_Row, row.put()));
            STEP(row.try_query<IQnPSRow>()->put_RowID(Bstr(id).get()));
            for (int i = 0; i < 3; ++i) {
                STEP(storage_->CreateQnPSObject(qnpsObjType_QnPSProperty, cell.put()));
                STEP(cell.try_query<IQnPSProperty>()->put_ColumnDef(made[i].get()));
                STEP(cell.try_query<IQnPSProperty>()->put_Value(values[i].get()));
                STEP(row.try_query<IQnPSRow>()->AddItem(cell.get()));
            }
            STEP(rows.try_query<IQnPSRowCollection>()->AddItem(row.get()));
        }
        return S_OK;
    }

    HRESULT LookUp() {
        auto rows = Rows(table_.get());
        ComPtr<IQnPSProperty> cell;
        ComPtr<IQnPSRow> row;
        ComPtr<IUnknown> enumerator;
        STEP(table_->get_Property(Bstr(L"r2").get(), Bstr(L"title").get(), cell.put()));
        STEP(cell->get_Value(values_[0].put()));
        STEP(rows->get_RowByID(Bstr(L"r3").get(), row.put()));
        STEP(row->get_RowID(text_.put()));
        STEP(rows->get_Row(Bstr(L"Sheets").get(), VariantOf(4L).get(), reinterpret_cast<IQnPSRow**>(objects_[0].put())));
        STEP(rows->get_ColumnValues(Bstr(L"Title").get(), values_[1].put()));
        STEP(rows->get_UniqueColumnValues(Bstr(L"Due").get(), values_[2].put()));
        STEP(table_->get_LayoutsNames(values_[3].put()));
        STEP(table_->get_TabOrderByLayoutName(Bstr(L"plan").get(), &tabOrder_));
        STEP(rows->get__NewEnum(enumerator.put()));
        VARIANT fetched[2];
        ULONG count = 0;
        STEP(enumerator.try_query<IEnumVARIANT>()->Next(2, fetched, &count));
        for (ULONG i = 0; i < count; ++i) values_[4 + i].get() = fetched[i];
        ComPtr<IEnumVARIANT> clone;
        STEP(enumerator.try_query<IEnumVARIANT>()->Clone(clone.put()));
        STEP(table_->GetColumnDefs(qnpsDefinitions_Ordered, reinterpret_cast<IQnPSColumnDefCollection**>(objects_[1].put())));
        STEP(table_->put_CustomProperty(Bstr(L"key").get(), VariantOf(L"kept").get()));
        return S_OK;
    }
    std::wstring LookedUp() {
        UniqueVariant custom;
        table_->get_CustomProperty(Bstr(L"key").get(), custom.put());
        std::wstring text = ValueText(values_[0].get()) + L"|" + Text(text_.get()) + (objects_[0] ? L"|row|" : L"|none|");
        for (int i = 1; i < 4; ++i) text += ValueText(values_[i].get()) + L"|";
        return text + std::to_wstring(tabOrder_) + L"|" + std::to_wstring(values_[4].type()) +
               std::to_wstring(values_[5].type()) + L"|" +
               (objects_[1] ? ColumnNames(objects_[1].try_query<IQnPSCollection>().get()) : L"none") + L"|" +
               ValueText(custom.get());
    }

    struct Scenario {
        const char* name;
        std::function<void()> setup;
        std::function<HRESULT()> action;
        std::function<std::wstring()> observe;
        bool writes = false;
    };
    std::vector<Scenario> Scenarios() {
        auto writeOver = [this](const char* name, const std::string& old, long flags) {
            return Scenario{name, [this, old] { Build(), stream_ = StreamWith(old); },
                            [this, flags] { return storage_->WriteProperties(stream_.get(), table_.get(), flags); },
                            [this] { return Wide(StreamText(stream_.get())); }, true};
        };
        return {{"build", [] {}, [this] { return Build(); }, [this] { return DocumentOf(table_.get()); }},
                {"read", [this] { stream_ = StreamWith(kOld); },
                 [this] { return storage_->ReadProperties(stream_.get(), table_.put()); },
                 [this] { return DocumentOf(table_.get()); }},
                {"look up", [this] { stream_ = StreamWith(kOld), table_ = Read(stream_.get()); },
                 [this] { return LookUp(); }, [this] { return LookedUp(); }},
                writeOver("write into empty", "", qnpsWriteNormal), writeOver("merge", kOld, qnpsWriteNormal),
                writeOver("overwrite", kOld, qnpsOverwrite)};
    }
};

TEST_F(AllocationFailures, EachFailedAllocationEndsInOutOfMemoryOrTheRightResult) {
    for (const Scenario& scenario : Scenarios()) {
        scenario.setup();
        AllocationFaults::Arm(LONG_MAX);
        ASSERT_EQ(S_OK, scenario.action()) << scenario.name;
        AllocationFaults::Disarm();
        const long calls = AllocationFaults::Calls();
        ASSERT_GT(calls, 0) << scenario.name << " allocates nothing the hooks see";
        const std::wstring expected = scenario.observe();
        Reset();
        for (const bool from : {false, true}) {
            for (long n = 1; n <= calls; ++n) {
                SCOPED_TRACE(testing::Message() << scenario.name << ": allocation " << n << " of " << calls
                                                << (from ? " and every later one" : " alone"));
                scenario.setup();
                const std::string before = stream_ ? StreamBytes(stream_.get()) : std::string();
                if (stream_) Rewind(stream_.get());
                AllocationFaults::Arm(n, from);
                const HRESULT hr = scenario.action();
                AllocationFaults::Disarm();
                const std::string failed = AllocationFaults::Failed();
                SCOPED_TRACE(failed);
                if (hr == S_OK && failed != "VariantCopyInd" && failed != "SysAllocStringByteLen") {
                    EXPECT_EQ(expected, scenario.observe());
                } else if (hr != S_OK) {
                    EXPECT_EQ(E_OUTOFMEMORY, hr) << std::hex << hr;
                    if (scenario.writes) { EXPECT_EQ(before, StreamBytes(stream_.get())); }
                }
                Reset();
                TearDown();  // nothing may outlive the failure
                ASSERT_NO_FATAL_FAILURE(SetUp());
            }
        }
    }
}

}  // namespace
