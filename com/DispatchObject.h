#pragma once

#include "com/Platform.h"

#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "com/CTvErrorInfo.h"
#include "com/CTvSupportErrorInfo.h"
#include "com/ComPtr.h"
#include "com/ErrorBoundary.h"
#include "com/ErrorRecord.h"
#include "com/TypeInfoCache.h"
#include "com/UnknownObject.h"

namespace com {

// Private identity of the library's own objects. QueryInterface answers it with the object's
// primary interface pointer and, unlike every public interface, adds no reference: it only tells
// the model that an object is one of its own, so that its fields can be read directly.
inline constexpr IID kOwnObjectIid = {
    0x5fa3257a, 0x1632, 0x46bc, {0xb7, 0xf4, 0x25, 0xf0, 0x16, 0xdb, 0x51, 0xf5}};

// What an object needs only now and then, made on first use and reached through one pointer: its
// ISupportErrorInfo face, the record of its last failure and what the deriving class keeps beside
// them (`Extra`, which must be constructible without allocating). Most objects, cells above all,
// never need any of it.
template <class ErrorInfoFace, class Extra>
struct SideBlock {
    explicit SideBlock(IUnknown* owner) noexcept : supportErrorInfo(owner) {}

    ErrorInfoFace supportErrorInfo;
    TVL::CTvErrorInfo errorInfo;
    Extra extra;
};

// The shared half of every automation object: on top of the counted object, IDispatch through the
// library's type information, ISupportErrorInfo, the private identity, and the error boundary that
// each member runs inside.
template <class Interface, class Extra, class... ErrorInterfaces>
class DispatchObject : public UnknownObject<Interface> {
    using Base = UnknownObject<Interface>;
    using Side = SideBlock<CTvSupportErrorInfo<Interface, ErrorInterfaces...>, Extra>;

public:
    // IUnknown: the interface chain as every object answers it, and two faces of its own.
    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        if (::IsEqualGUID(riid, kOwnObjectIid)) {
            *object = static_cast<Interface*>(this);
            return S_OK;
        }
        if (!::IsEqualGUID(riid, __uuidof(ISupportErrorInfo))) return Base::QueryInterface(riid, object);
        Side* side = TryEnsureSide();
        *object = side ? static_cast<ISupportErrorInfo*>(&side->supportErrorInfo) : nullptr;
        if (!side) return E_OUTOFMEMORY;
        this->AddRef();
        return S_OK;
    }

    // IDispatch
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        return Guarded([&] {
            ComPtr<ITypeInfo>(OwnTypeInfo()).copy_to(info);
            return S_OK;
        });
    }
    STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        if (!::IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
        return Guarded([&] { return OwnTypeInfo()->GetIDsOfNames(names, count, ids); });
    }
    STDMETHODIMP Invoke(DISPID member, REFIID riid, LCID, WORD flags, DISPPARAMS* params,
                        VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override {
        if (!::IsEqualGUID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
        return Guarded([&] {
            ITypeInfo* info = OwnTypeInfo();
            // JScript's Enumerator asks for _NewEnum as a method; the type library declares it a
            // property, which the platform's dispatcher would refuse.
            if (member == DISPID_NEWENUM && (flags & DISPATCH_METHOD)) flags = DISPATCH_PROPERTYGET;
            Interface* self = this;
            HRESULT hr = info->Invoke(self, member, flags, params, result, exception, argumentError);
            // `Set obj.Prop = x` arrives as put-by-reference; object properties are declared as
            // plain puts, which take the same argument.
            if (hr == DISP_E_MEMBERNOTFOUND && flags == DISPATCH_PROPERTYPUTREF) {
                hr = info->Invoke(self, member, DISPATCH_PROPERTYPUT, params, result, exception,
                                  argumentError);
            }
            return hr;
        });
    }

protected:
    DispatchObject() noexcept {
        // A table has a cell per row and column: the tag must cost nothing but padding.
        static_assert(sizeof(DispatchObject) == sizeof(Interface) + sizeof(ULONG) + sizeof(tag_) + sizeof(side_),
                      "the tag must fill the counted object's padding");
    }

    // The side block's extra part if the block was ever made, else null.
    const Extra* SideExtra() const noexcept { return side_ ? &side_->extra : nullptr; }
    Extra& EnsureSideExtra() {
        if (!TryEnsureSide()) throw std::bad_alloc();
        return side_->extra;
    }

    // Four bytes for the deriving class's own use, kept beside the reference count where they would
    // otherwise be padding: a cell is small, and there are many of them.
    std::int32_t Tag() const noexcept { return tag_; }
    void SetTag(std::int32_t tag) noexcept { tag_ = tag; }

    // One member's body inside the library's error boundary, its failure recorded for
    // ISupportErrorInfo.
    template <class Body>
    HRESULT Guarded(Body&& body) noexcept {
        return RunGuarded(static_cast<Body&&>(body),
                          [this](HRESULT code, const wchar_t* description) noexcept { return Fail(code, description); });
    }

private:
    static ITypeInfo* OwnTypeInfo() { return TypeInfoCache::Get(__uuidof(Interface)); }

    Side* TryEnsureSide() noexcept {
        if (!side_) side_.reset(new (std::nothrow) Side(static_cast<Interface*>(this)));
        return side_.get();
    }

    HRESULT Fail(HRESULT code, const wchar_t* description) noexcept {
        Side* side = TryEnsureSide();
        RecordError(side ? &side->errorInfo : nullptr, code, __uuidof(Interface), description);
        return code;
    }

    // Declared first, it takes the padding after the counted object's reference count.
    std::int32_t tag_ = 0;
    std::unique_ptr<Side> side_;
};

// Creates an object holding one reference for the caller.
template <class T, class... Args>
ComPtr<T> MakeObject(Args&&... args) {
    return ComPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace com
