#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "com/Platform.h"

namespace model {

// One allocation that holds cells side by side and, after them, the texts of their values: a read
// gives each row one, a storage object hands out the cells a host makes from blocks of
// kHostCells. A cell takes no heap block and no module lock of its own: the block holds one lock
// and is freed once its maker has closed it and its last cell has gone, in whatever order cells,
// rows and tables are released. A cell finds its block again by its slot number. All cells of a
// block belong to the apartment that made them, like every object of the library, so the counts
// need no interlocked operations.
class CellBlock {
public:
    // What one cell may take of a slot; slot numbers fit in a byte.
    static constexpr std::size_t kSlotBytes = 40;
    static constexpr std::uint32_t kMaxCells = 255;
    static constexpr std::uint32_t kHostCells = 64;

    // A block with `cells` slots (1 to kMaxCells) and room for texts of `textBytes` bytes in all
    // (see TextBytes); it counts as open until Close. Throws std::bad_alloc.
    static CellBlock* Create(std::uint32_t cells, std::size_t textBytes);
    // The room a text of `byteLength` bytes takes, shaped as an automation string.
    static std::size_t TextBytes(UINT byteLength) noexcept;

    // The next free slot and its number, or null when every slot has been handed out. The caller
    // makes a cell there at once, and calls GiveBack when that cell is gone.
    void* TakeSlot(std::uint8_t& slot) noexcept;
    static CellBlock* OfSlot(const void* cell, std::uint8_t slot) noexcept;
    void GiveBack() noexcept;
    // The maker hands out no more slots.
    void Close() noexcept;

    // A copy of the string's bytes in this block, shaped as an automation string (its byte length
    // before it, a null character after it) so that the platform's string functions read it; null
    // when the room is used up. It is never freed on its own: it goes with the block.
    BSTR PlaceText(BSTR text) noexcept;
    bool HoldsText(const void* text) const noexcept;

private:
    CellBlock(std::uint32_t cells, std::size_t textBytes) noexcept;
    ~CellBlock();
    void FreeWhenUnused() noexcept;
    char* Slots() noexcept { return reinterpret_cast<char*>(this) + sizeof(CellBlock); }
    const char* Texts() const noexcept {
        return reinterpret_cast<const char*>(this) + sizeof(CellBlock) + capacity_ * kSlotBytes;
    }

    std::uint32_t capacity_;
    std::uint32_t handedOut_ = 0;
    std::uint32_t live_ = 0;
    bool open_ = true;
    std::size_t textCapacity_;
    std::size_t textUsed_ = 0;
};

// The maker's hold on a block: closes it when let go.
struct CloseCellBlock {
    void operator()(CellBlock* block) const noexcept { block->Close(); }
};
using OpenCellBlock = std::unique_ptr<CellBlock, CloseCellBlock>;

}  // namespace model
