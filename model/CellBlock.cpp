#include "model/CellBlock.h"

#include <cstring>
#include <new>

#include "com/ModuleState.h"

namespace model {

static_assert(sizeof(CellBlock) % 8 == 0 && CellBlock::kSlotBytes % 8 == 0, "cells must stay aligned");

CellBlock* CellBlock::Create(std::uint32_t cells, std::size_t textBytes) {
    void* memory = ::operator new(sizeof(CellBlock) + cells * kSlotBytes + textBytes);
    return ::new (memory) CellBlock(cells, textBytes);
}

std::size_t CellBlock::TextBytes(UINT byteLength) noexcept {
    // The length before the text and a null character after it, rounded to keep the next length
    // aligned.
    return (sizeof(DWORD) + byteLength + sizeof(wchar_t) + 3) & ~std::size_t{3};
}

CellBlock::CellBlock(std::uint32_t cells, std::size_t textBytes) noexcept
    : capacity_(cells), textCapacity_(textBytes) {
    com::ModuleLock::Lock();
}

CellBlock::~CellBlock() { com::ModuleLock::Unlock(); }

void* CellBlock::TakeSlot(std::uint8_t& slot) noexcept {
    if (handedOut_ == capacity_) return nullptr;
    slot = static_cast<std::uint8_t>(handedOut_);
    ++live_;
    return Slots() + kSlotBytes * handedOut_++;
}

CellBlock* CellBlock::OfSlot(const void* cell, std::uint8_t slot) noexcept {
    const char* slots = static_cast<const char*>(cell) - kSlotBytes * slot;
    return reinterpret_cast<CellBlock*>(const_cast<char*>(slots) - sizeof(CellBlock));
}

void CellBlock::GiveBack() noexcept {
    --live_;
    FreeWhenUnused();
}

void CellBlock::Close() noexcept {
    open_ = false;
    FreeWhenUnused();
}

void CellBlock::FreeWhenUnused() noexcept {
    if (open_ || live_ != 0) return;
    this->~CellBlock();
    ::operator delete(static_cast<void*>(this));
}

BSTR CellBlock::PlaceText(BSTR text) noexcept {
    if (!text) return nullptr;
    const UINT byteLength = ::SysStringByteLen(text);
    const std::size_t needed = TextBytes(byteLength);
    if (textCapacity_ - textUsed_ < needed) return nullptr;
    char* place = const_cast<char*>(Texts()) + textUsed_;
    textUsed_ += needed;
    const DWORD length = byteLength;
    std::memcpy(place, &length, sizeof length);
    std::memcpy(place + sizeof length, text, byteLength);
    std::memset(place + sizeof length + byteLength, 0, sizeof(wchar_t));
    return reinterpret_cast<BSTR>(place + sizeof length);
}

bool CellBlock::HoldsText(const void* text) const noexcept {
    const char* at = static_cast<const char*>(text);
    return at >= Texts() && at < Texts() + textCapacity_;
}

}  // namespace model
