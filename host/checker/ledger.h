// ledger.h - counts the references that the modules hold, for each object or string handle.
//
// The ledger holds one reference of its own to every handle that it knows, so a module that gives back too many
// references destroys nothing. A handle is abandoned when only the ledger still refers to it. Watch::Settle ends the
// abandoned handles between calls, so objects end when they would end in a program.
//
// Lifetime: as long as the process.
// Threads:  the host's thread.

#pragma once

#include <map>
#include <vector>

#include "host/runtime/reference.h"

namespace checker {

template <typename Handle>
class Ledger {
  public:
    // Adds a new handle, to which the modules hold no reference yet.
    void Note(Handle* handle) {
        host::Lock(handle);
        held_[handle] = 0;
    }

    [[nodiscard]] bool Knows(Handle* handle) const { return held_.contains(handle); }

    // Returns how many references the modules hold to one handle.
    [[nodiscard]] int HeldTo(Handle* handle) const {
        const auto found = held_.find(handle);
        return found != held_.end() ? found->second : 0;
    }

    // Counts a reference that a module takes.
    void Take(Handle* handle) { ++held_[handle]; }

    // Counts a reference that a module gives up. Returns false when the modules hold none.
    [[nodiscard]] bool GiveUp(Handle* handle) {
        int& held = held_[handle];
        if (held == 0) return false;
        --held;
        return true;
    }

    // Returns how many references the modules hold to all handles together.
    [[nodiscard]] int Held() const {
        int sum = 0;
        for (const auto& [handle, held] : held_) sum += held;
        return sum;
    }

    // Returns the handles to which only the ledger refers.
    [[nodiscard]] std::vector<Handle*> Abandoned() const {
        std::vector<Handle*> abandoned;
        for (const auto& [handle, held] : held_) {
            if (handle->references == 1) abandoned.push_back(handle);
        }
        return abandoned;
    }

    // Ends an abandoned handle and forgets it.
    void End(Handle* handle) {
        host::Unlock(handle);
        held_.erase(handle);
    }

  private:
    std::map<Handle*, int> held_;
};

}  // namespace checker
