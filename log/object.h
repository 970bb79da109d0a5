// Objects: loggers, filters, handlers and formatters, each a named instance of a class.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "log/classes.h"
#include "log/collections.h"
#include "log/pmx_classes.h"
#include "log/pmx_toolkit.h"

struct PmxObject {
    // The lowest level that it takes, of enabled and level made one: what pmx_log_inline.h reads.
    std::atomic<int32_t> threshold;
    PmxObjClass* cls;     // null: corrupt, or at its end
    uint32_t references;  // one of them is the instance table's
    char* name;
    std::atomic<int32_t> enabled;
    std::atomic<int32_t> level;   // of a logger; the threshold of a level filter
    PmxListenerGroup* listeners;  // of all but formatters; null: none yet
    PmxObject* formatter;         // of a handler
    uint32_t state;               // of a handler
    char* separator;              // of a formatter, as the next two; null: not set
    char* date_time_format;
    char* locale;
    PmxStringToStringMap* properties;  // null: none yet
    void* vars;                        // of its class
    bool busy;                         // an event is in it
    bool end_waits;                    // in the list of objects to be ended
    PmxObject* next_ending;
};

int pmxIntlAreObjectsEqual(const PmxObject* a, const PmxObject* b);
char* pmxIntlGetObjectDesc(PmxObject* object);
PmxListenerGroupLink* pmxIntlGetListeners(PmxObject* object);

namespace vel::log {

// A reference to something counted. It is taken on (adopt) or added (share), and given back.
template <class T, T* (*Acquire)(T*), void (*Release)(T*)>
class Ref {
  public:
    Ref() = default;
    Ref(Ref&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~Ref() {
        if (pointer_ != nullptr) Release(pointer_);
    }

    static Ref adopt(T* pointer) { return Ref(pointer); }
    static Ref share(T* pointer) { return Ref(Acquire(pointer)); }

    explicit operator bool() const { return pointer_ != nullptr; }
    T* operator->() const { return pointer_; }
    T* get() const { return pointer_; }
    T* release() { return std::exchange(pointer_, nullptr); }

  private:
    explicit Ref(T* pointer) : pointer_(pointer) {}
    T* pointer_ = nullptr;
};
using ObjectRef = Ref<PmxObject, pmxIntlAcquireObject, pmxIntlReleaseObject>;
using CfgRef = Ref<PmxObjCfg, pmxIntlAcquireObjCfg, pmxIntlReleaseObjCfg>;

static_assert(offsetof(PmxObject, threshold) == 0 && sizeof(std::atomic<int32_t>) == 4);

// Whether an object takes events, and from which level on.
inline void set_gate(PmxObject* object, int32_t enabled, int32_t level) {
    object->enabled = enabled;
    object->level = level;
    const int32_t lowest = level == PMX_NO_LEVEL ? INT32_MIN : std::min(level, INT32_MAX - 1);
    object->threshold = enabled ? lowest : INT32_MAX;
}

inline bool is_kind(const PmxObject* object, uint32_t kind) {
    return object != nullptr && object->cls != nullptr && object->cls->kind == kind;
}

// Makes the variables of an object, as their type initialises them; null: no memory.
template <class Vars>
Vars* make_vars() {
    void* const place = RakMemoryMalloc(sizeof(Vars));
    return place == nullptr ? nullptr : new (place) Vars;
}

// The variables of an object; null when there are none or the object is of another class.
template <class Vars>
Vars* vars(const PmxObject* object, PmxFreeVarsOp of_class) {
    if (object == nullptr || object->cls == nullptr || object->cls->life.free_vars != of_class) {
        return nullptr;
    }
    return static_cast<Vars*>(object->vars);
}

// A property as it is, without a copy; null: there is none.
inline const char* peek_object_property(const PmxObject* object, const char* name) {
    return peek_property(object->properties, name);
}

// What an object is doing with an event. It is entered by one event at a time: what leads back to
// it is left out.
class Delivery {
  public:
    explicit Delivery(PmxObject* object) : object_(object->busy ? nullptr : object) {
        if (object_ == nullptr) return;
        object_->busy = true;
        ++object_->references;
    }
    ~Delivery() {
        if (object_ == nullptr) return;
        object_->busy = false;
        if (object_->references > 2) {  // the usual case: it does not end here
            --object_->references;
        } else {
            pmxIntlReleaseObject(object_);
        }
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    explicit operator bool() const { return object_ != nullptr; }

  private:
    PmxObject* object_;  // null: it was busy
};

// While it lasts no event enters a handler: what is reported meanwhile must not come back into it.
class Busy {
  public:
    explicit Busy(PmxObject* handler)
        : handler_(handler), was_busy_(std::exchange(handler->busy, true)) {}
    ~Busy() { handler_->busy = was_busy_; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

  private:
    PmxObject* handler_;
    bool was_busy_;
};

// Ends every object and forgets them all.
void end_objects();

}  // namespace vel::log
