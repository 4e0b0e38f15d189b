#include "model/CQnPSProperty.h"

#include <cstring>
#include <new>

#include "model/ObjectTypes.h"

namespace model {
namespace {

static_assert(sizeof(VARIANT::llVal) == sizeof(std::uint64_t), "eight bytes of a value's data");

// A wide value's box; also what frees an inline value that owns something.
using Box = com::UniqueVariant;

}  // namespace

com::ComPtr<CQnPSProperty> CQnPSProperty::CreateIn(CellBlock& block) noexcept {
    std::uint8_t slot = 0;
    void* place = block.TakeSlot(slot);
    if (!place) return nullptr;
    return com::ComPtr<CQnPSProperty>(::new (place) CQnPSProperty(slot));
}

CQnPSProperty::CQnPSProperty(std::uint8_t slot) noexcept {
    SetObjectType(qnpsObjType_QnPSProperty);
    SetSpareTagBits((static_cast<std::uint32_t>(slot) << 16) | VT_EMPTY);
}

CQnPSProperty::~CQnPSProperty() { ClearValue(); }

void CQnPSProperty::Destroy() noexcept {
    CellBlock* block = Block();
    this->~CQnPSProperty();
    block->GiveBack();
}

void CQnPSProperty::Store(VARTYPE type, std::uint64_t payload) noexcept {
    SetSpareTagBits((SpareTagBits() & 0xFF0000u) | type);
    payload_ = payload;
}

VARIANT CQnPSProperty::Value() const noexcept {
    const VARTYPE type = StoredType();
    if (IsBoxed(type)) return static_cast<const Box*>(PayloadAddress())->get();
    VARIANT value{};
    value.vt = type;
    std::memcpy(&value.llVal, &payload_, sizeof payload_);
    return value;
}

void CQnPSProperty::ClearValue() noexcept {
    const VARTYPE type = StoredType();
    if (IsBoxed(type)) {
        delete static_cast<Box*>(PayloadAddress());
    } else if (type != VT_BSTR || !Block()->HoldsText(PayloadAddress())) {
        Box owned;
        *owned.put() = Value();
    }
    Store(VT_EMPTY, 0);
}

void CQnPSProperty::SetValue(com::UniqueVariant value) noexcept {
    ClearValue();
    const VARTYPE type = value.type();
    if (IsBoxed(type)) {
        if (Box* box = new (std::nothrow) Box(std::move(value))) Store(type, reinterpret_cast<std::uintptr_t>(box));
        return;
    }
    if (type == VT_BSTR) {
        if (const BSTR placed = Block()->PlaceText(value.get().bstrVal)) {
            Store(VT_BSTR, reinterpret_cast<std::uintptr_t>(placed));
            return;
        }
    }
    VARIANT owned;
    value.detach(&owned);
    std::uint64_t payload = 0;
    std::memcpy(&payload, &owned.llVal, sizeof payload);
    Store(type, payload);
}

CQnPSColumnDef* CQnPSProperty::Definition() const noexcept {
    return OwnObject<CQnPSColumnDef>(columnDef_.get(), qnpsObjType_ColumnDef);
}

bool CQnPSProperty::HasColumnName(const wchar_t* name) const noexcept {
    const CQnPSColumnDef* definition = Definition();
    return definition && definition->HasName(name);
}

void CQnPSProperty::LinkDefinition(CQnPSColumnDef* definition) noexcept {
    columnDef_ = com::ComPtr<IQnPSColumnDef>(definition);
}

STDMETHODIMP CQnPSProperty::get_ColumnDef(IQnPSColumnDef** ppColumnDef) {
    return Guarded([&] {
        if (!ppColumnDef) return E_INVALIDARG;
        *ppColumnDef = nullptr;
        if (!columnDef_) return S_OK;
        return columnDef_->QueryInterface(IID_IQnPSColumnDef, reinterpret_cast<void**>(ppColumnDef));
    });
}

STDMETHODIMP CQnPSProperty::put_ColumnDef(IQnPSColumnDef* newVal) {
    return Guarded([&] {
        if (!newVal) return E_INVALIDARG;
        columnDef_.reset();
        // An object of another type leaves the cell unlinked, silently: callers depend on the put
        // succeeding whatever they pass.
        if (Narrow(newVal, qnpsObjType_ColumnDef)) columnDef_ = com::ComPtr<IQnPSColumnDef>(newVal);
        return S_OK;
    });
}

STDMETHODIMP CQnPSProperty::get_Value(VARIANT* pvtPropValue) {
    return Guarded([&] {
        if (!pvtPropValue) return E_INVALIDARG;
        com::InitOut(pvtPropValue);
        return com::CopyVariant(pvtPropValue, Value());
    });
}

STDMETHODIMP CQnPSProperty::put_Value(VARIANT newVal) {
    return Guarded([&] {
        // A failed copy leaves the cell empty; the put still succeeds.
        SetValue(com::UniqueVariant::DereferencedCopyOrEmpty(newVal));
        return S_OK;
    });
}

}  // namespace model
