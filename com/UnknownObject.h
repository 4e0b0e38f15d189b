#pragma once

#include "com/Platform.h"

#include <type_traits>

#include "com/InterfaceChain.h"
#include "com/ModuleState.h"

namespace com {

// How an object of the library lives: counted, deleted at its last release and holding the module
// loaded meanwhile; or static, for the class objects, whose references do not count.
enum class Lifetime { kCounted, kStatic };

// Whether every counted object of the interface takes a module lock of its own. Objects made by
// the hundred thousand (cells) live in shared blocks instead, each block holding one lock for all
// its objects, so that making one costs no interlocked operation.
template <class Interface>
struct LocksModulePerObject : std::true_type {};

// IUnknown for every COM object of the library: QueryInterface answers the chain of `Interface`
// and nothing else, so a class writes no QueryInterface of its own. Single-threaded counting: the
// objects live in their creator's apartment.
template <class Interface, Lifetime kLifetime = Lifetime::kCounted>
class UnknownObject : public Interface {
public:
    UnknownObject(const UnknownObject&) = delete;
    UnknownObject& operator=(const UnknownObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        if (!IsInInterfaceChain<Interface>(riid)) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        if constexpr (kLifetime == Lifetime::kStatic) {
            return 2;
        } else {
            return ++references_;
        }
    }
    STDMETHODIMP_(ULONG) Release() override {
        if constexpr (kLifetime == Lifetime::kStatic) {
            return 1;
        } else {
            const ULONG remaining = --references_;
            if (remaining == 0) Destroy();
            return remaining;
        }
    }

protected:
    UnknownObject() noexcept {
        if constexpr (kLocksModule) ModuleLock::Lock();
    }
    virtual ~UnknownObject() {
        if constexpr (kLocksModule) ModuleLock::Unlock();
    }

    // The end of an object at its last reference. An object that lives in a shared block rather
    // than on the heap of its own gives its place back instead.
    virtual void Destroy() noexcept { delete this; }

private:
    static constexpr bool kLocksModule =
        kLifetime == Lifetime::kCounted && LocksModulePerObject<Interface>::value;

    ULONG references_ = 0;
};

}  // namespace com
