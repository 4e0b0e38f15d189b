#pragma once

#include "com/Platform.h"

#include "com/InterfaceChain.h"
#include "com/ModuleState.h"

namespace com {

// How an object of the library lives: counted, deleted at its last release and holding the module
// loaded meanwhile; or static, for the class objects, whose references do not count.
enum class Lifetime { kCounted, kStatic };

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
            if (remaining == 0) delete this;
            return remaining;
        }
    }

protected:
    UnknownObject() noexcept {
        if constexpr (kLifetime == Lifetime::kCounted) ModuleLock::Lock();
    }
    virtual ~UnknownObject() {
        if constexpr (kLifetime == Lifetime::kCounted) ModuleLock::Unlock();
    }

private:
    ULONG references_ = 0;
};

}  // namespace com
