// The way from a configuration to the root.
#pragma once

#include "log/config.h"
#include "runtime/format.h"

namespace vel::log {

// A configuration, its parent, the parent's parent ... Parents that are missing are created.
// Parents that were set by hand may form a ring: the way ends where it would close.
class Lineage {
  public:
    explicit Lineage(PmxObjCfg* cfg) { enter(pmxIntlAcquireObjCfg(cfg)); }
    ~Lineage() {
        clear_marks();
        for (const Ancestor& ancestor : way_) pmxIntlReleaseObjCfg(ancestor.cfg);
    }
    Lineage(const Lineage&) = delete;
    Lineage& operator=(const Lineage&) = delete;

    // The next one on the way, the configuration itself first; null: the root is reached.
    PmxObjCfg* next() {
        if (at_ > 0 && at_ == way_.count()) enter(pmxIntlObjCfgGetParent(way_[at_ - 1].cfg));
        if (at_ < way_.count()) return way_[at_++].cfg;
        clear_marks();
        return nullptr;
    }

    // After the end: back down from the root-most one.
    PmxObjCfg* previous() { return at_ > 0 ? way_[--at_].cfg : nullptr; }

  private:
    // Marks are there for a climb only: what comes after it may lead to climbs by the same parents.
    void clear_marks() {
        for (const Ancestor& ancestor : way_) ancestor.cfg->on_the_way = false;
    }

    void enter(PmxObjCfg* cfg) {
        if (cfg == nullptr) return;
        Ancestor* const place = cfg->on_the_way ? nullptr : way_.add();
        if (place == nullptr) return pmxIntlReleaseObjCfg(cfg);
        cfg->on_the_way = true;
        place->cfg = cfg;
    }

    struct Ancestor {
        PmxObjCfg* cfg = nullptr;
    };
    static constexpr int32_t kUsualDepth = 16;
    runtime::GrowingList<Ancestor, kUsualDepth> way_;
    int32_t at_ = 0;
};

}  // namespace vel::log
