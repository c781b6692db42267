// ledger.h - which references the modules hold, handle by handle.
//
// Every object and string is written down here with one reference of the ledger's own, so that
// a module that gives back too much ends nothing. Settle ends whatever only the ledger still refers to; that happens
// between calls, so objects end when a program would end them.
//
// Lifetime: as long as the process. Threads: the host's thread.

#pragma once

#include <map>
#include <vector>

#include "host/runtime/reference.h"

namespace checker {

template <typename Handle>
class Ledger {
  public:
    // Writes down a new handle, to which no module holds a reference yet.
    void Note(Handle* handle) {
        host::Lock(handle);
        held_[handle] = 0;
    }

    bool Knows(Handle* handle) const { return held_.contains(handle); }

    // How many references the modules hold to it.
    int HeldTo(Handle* handle) const {
        const auto found = held_.find(handle);
        return found != held_.end() ? found->second : 0;
    }

    // A module has taken one reference, or given one up; false when it has none to give.
    void Take(Handle* handle) { ++held_[handle]; }
    bool GiveUp(Handle* handle) {
        int& held = held_[handle];
        if (held == 0) return false;
        --held;
        return true;
    }

    // How many references the modules hold altogether.
    int Held() const {
        int sum = 0;
        for (const auto& [handle, held] : held_) sum += held;
        return sum;
    }

    // What nobody else refers to.
    std::vector<Handle*> Abandoned() const {
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
