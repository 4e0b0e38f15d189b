// A write into a stream that fails: each call of each stream method failed in turn, or made to
// write short, or the device gone from one call on. The stream ends with its old bytes and a failure,
// or with the whole new document and S_OK; never with anything else.
#include <map>

#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

enum class Fault { kFail, kShortFail, kShortOk, kGone };

// Passes every call to a real stream but the one it is told to spoil, which has no effect, except
// a short write, which writes the first half of its bytes.
class FaultyStream final : public IStream {
public:
    FaultyStream(IStream* inner, const char* method, long failAt, Fault fault)
        : inner_(inner), method_(method), failAt_(failAt), fault_(fault) {}

    std::map<std::string, long> calls;
    HRESULT injected = S_OK;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        const bool known = ::IsEqualIID(riid, IID_IUnknown) || ::IsEqualIID(riid, IID_ISequentialStream) ||
                           ::IsEqualIID(riid, IID_IStream);
        *object = known ? static_cast<IStream*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;  // not counted: lives on the test's stack
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    // Every other method passes on, or answers its own code when spoiled.
#define QNPS_PASS(method, code, params, args) \
    STDMETHODIMP method params override { return Spoiled(#method, code) ? injected : inner_->method args; }
    QNPS_PASS(Read, STG_E_READFAULT, (void* buffer, ULONG count, ULONG* read), (buffer, count, read))
    QNPS_PASS(Seek, STG_E_INVALIDFUNCTION, (LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* at), (move, origin, at))
    QNPS_PASS(SetSize, STG_E_MEDIUMFULL, (ULARGE_INTEGER size), (size))
    QNPS_PASS(Commit, STG_E_MEDIUMFULL, (DWORD flags), (flags))
    QNPS_PASS(Stat, STG_E_ACCESSDENIED, (STATSTG* status, DWORD flags), (status, flags))
#undef QNPS_PASS
    STDMETHODIMP Write(const void* buffer, ULONG count, ULONG* written) override {
        if (!Spoiled("Write", STG_E_MEDIUMFULL)) return inner_->Write(buffer, count, written);
        if (fault_ == Fault::kShortFail || fault_ == Fault::kShortOk) inner_->Write(buffer, count / 2, written);
        if (fault_ == Fault::kShortOk) injected = S_OK;
        return injected;
    }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

private:
    bool Spoiled(const char* method, HRESULT code) {
        const long call = ++calls[method], any = ++calls["any"];
        const bool spoiled = fault_ == Fault::kGone ? any >= failAt_ : method_ == method && call == failAt_;
        if (spoiled) injected = fault_ == Fault::kGone ? STG_E_REVERTED : code;
        return spoiled;
    }

    IStream* inner_;
    std::string method_;
    long failAt_;
    Fault fault_;
};

class StreamFaults : public PersistenceTest {
protected:
    ComPtr<IQnPSTable> TableOf(int rows, const wchar_t* title) {
        auto table = MakeTable(L"Drafting");
        auto column = MakeColumn(L"Title"), sheets = MakeColumn(L"Sheets", qnpsPropType_Int);
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(sheets.get()));
        const auto value = VariantOf(title), count = VariantOf(7L);
        for (int i = 0; i < rows; ++i) {
            // Every other row leaves Sheets to be carried over from the old document.
            auto row = AddRow(table.get(), (L"R" + std::to_wstring(i)).c_str(), {{column.get(), &value.get()}});
            if (i % 2 == 0) { EXPECT_EQ(S_OK, row->AddItem(MakeCell(sheets.get(), count.get()).get())); }
        }
        return table;
    }

    void Check(IStream* stream, const std::string& old, const std::string& expected, IQnPSTable* table,
               long flags, const char* method, long n, Fault fault) {
        SCOPED_TRACE(testing::Message() << method << " call " << n << " fault " << static_cast<int>(fault));
        SetStreamBytes(stream, old);
        FaultyStream faulty(stream, method, n, fault);
        const HRESULT hr = storage_->WriteProperties(&faulty, table, flags);
        std::string now = StreamBytes(stream);
        if (hr == S_OK) {
            // A device gone after the whole new document was in may leave its padding.
            if (fault == Fault::kGone) now.erase(now.find_last_not_of(' ') + 1);
            EXPECT_EQ(expected, now);
            return;
        }
        EXPECT_EQ(old, now) << "a failed write must leave the old bytes";
        EXPECT_EQ(0, faulty.calls["Commit"]) << "nothing is committed after a failure";
        // The status comes first, and its failure is answered as it is.
        if (method == std::string("Stat") || (fault == Fault::kGone && n == 1)) {
            EXPECT_EQ(faulty.injected, hr);
            return;
        }
        EXPECT_EQ(kWriteXmlError, hr);
        ComPtr<IErrorInfo> info;
        UniqueBstr description;
        if (::GetErrorInfo(0, info.put()) == S_OK && info) info->GetDescription(description.put());
        wchar_t code[16];
        std::swprintf(code, 16, L"0x%08lX", static_cast<unsigned long>(faulty.injected));
        EXPECT_NE(std::wstring::npos, Text(description.get()).find(code)) << "the record names the stream's code";
    }
};

TEST_F(StreamFaults, EveryCallOfEveryWriteEndsWithTheOldBytesOrTheWholeNewDocument) {
    CompoundFile onDisk(L"stream-faults.qnps");
    for (CompoundFile* file : {&file_, &onDisk}) {
        auto stream = file->CreateStream();
        const auto smaller = TableOf(2, L"new"), larger = TableOf(12, L"a longer title than before");
        ASSERT_EQ(S_OK, Write(stream.get(), TableOf(6, L"old").get()));
        const std::string old = StreamBytes(stream.get());
        const struct { std::string old; IQnPSTable* table; long flags; } cases[] = {
            {"", larger.get(), qnpsWriteNormal}, {old, smaller.get(), qnpsWriteNormal},
            {old, larger.get(), qnpsWriteNormal}, {old, smaller.get(), qnpsOverwrite},
            {old, larger.get(), qnpsOverwrite}};
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << "old size " << c.old.size() << " flags " << c.flags);
            SetStreamBytes(stream.get(), c.old);
            FaultyStream counting(stream.get(), "", 0, Fault::kFail);
            ASSERT_EQ(S_OK, storage_->WriteProperties(&counting, c.table, c.flags));
            const std::string expected = StreamBytes(stream.get());
            ASSERT_NE(c.old, expected);
            for (const auto& [method, count] : counting.calls) {
                for (long n = 1; n <= count; ++n) {
                    for (Fault fault : {Fault::kFail, Fault::kShortFail, Fault::kShortOk, Fault::kGone}) {
                        if ((fault == Fault::kGone) != (method == "any")) continue;
                        if ((fault == Fault::kShortFail || fault == Fault::kShortOk) && method != "Write") continue;
                        Check(stream.get(), c.old, expected, c.table, c.flags, method.c_str(), n, fault);
                    }
                }
            }
        }
    }
}

}  // namespace
