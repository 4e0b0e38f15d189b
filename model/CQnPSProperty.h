#pragma once

#include <cstddef>
#include <cstdint>

#include "model/CPSObjectBase.h"
#include "model/CQnPSColumnDef.h"
#include "model/CellBlock.h"

namespace com {
// Cells live in blocks that hold the module lock for them.
template <>
struct LocksModulePerObject<IQnPSProperty> : std::false_type {};
}  // namespace com

namespace model {

// One cell: a value of any variant type, stored as given, and the column definition it belongs
// to. The cell has no name of its own; its name is its definition's.
//
// Tables hold cells by the million, so a cell is packed into a slot of a CellBlock: the value's
// type and the slot number share the object's tag, the value's eight bytes follow the definition,
// and the two types whose values are wider (VT_DECIMAL, VT_RECORD) are kept in a box of their own.
// A text may live in the block itself (see CellBlock::PlaceText).
class CQnPSProperty final : public CPSObjectBase<IQnPSProperty> {
public:
    // A new cell in the next free slot of `block`, holding one reference; null when the block is
    // full.
    static com::ComPtr<CQnPSProperty> CreateIn(CellBlock& block) noexcept;

    STDMETHODIMP get_ColumnDef(IQnPSColumnDef** ppColumnDef) override;
    STDMETHODIMP put_ColumnDef(IQnPSColumnDef* newVal) override;
    STDMETHODIMP get_Value(VARIANT* pvtPropValue) override;
    STDMETHODIMP put_Value(VARIANT newVal) override;

    // The linked definition when it is one of ours, else null.
    CQnPSColumnDef* Definition() const noexcept;
    // True when the linked definition is named `name` (without regard to case).
    bool HasColumnName(const wchar_t* name) const noexcept;
    // The value as a variant that still belongs to the cell: read it, copy it, never clear it. It
    // stays valid until the cell's value changes.
    VARIANT Value() const noexcept;

    void LinkDefinition(CQnPSColumnDef* definition) noexcept;
    // Takes the value over; a text is copied into the cell's block when the block has room for it.
    // A wide value whose box cannot be made leaves the cell empty, as a failed copy does.
    void SetValue(com::UniqueVariant value) noexcept;

private:
    explicit CQnPSProperty(std::uint8_t slot) noexcept;
    ~CQnPSProperty() override;
    void Destroy() noexcept override;

    // Cells are made in blocks only, and go back to them through Destroy.
    static void* operator new(std::size_t) = delete;
    static void operator delete(void*) noexcept {}

    static bool IsBoxed(VARTYPE type) noexcept { return type == VT_DECIMAL || type == VT_RECORD; }
    VARTYPE StoredType() const noexcept { return static_cast<VARTYPE>(SpareTagBits() & 0xFFFF); }
    std::uint8_t Slot() const noexcept { return static_cast<std::uint8_t>(SpareTagBits() >> 16); }
    void Store(VARTYPE type, std::uint64_t payload) noexcept;
    void* PayloadAddress() const noexcept { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(payload_)); }
    CellBlock* Block() const noexcept { return CellBlock::OfSlot(this, Slot()); }
    void ClearValue() noexcept;

    com::ComPtr<IQnPSColumnDef> columnDef_;
    // The first eight bytes of the value's data, or for a boxed type the address of its box.
    std::uint64_t payload_ = 0;
};

static_assert(sizeof(CQnPSProperty) <= CellBlock::kSlotBytes, "a cell must fit its slot");

}  // namespace model
