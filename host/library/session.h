// session.h - the host of this process as the library's functions share it: one lock, and what waits for it.
//
// A call holds the lock from its beginning to its end. References that are released while another thread holds the lock
// wait here, so that a thread which only lets go of an object never waits for a render of another.
//
// Lifetime: made on first use and never destroyed, because threads may release objects while the process ends.
// Threads:  any.

#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "host/library/handles.h"
#include "host/runtime/host.h"
#include "host/runtime/value.h"

namespace host::library {

class Session {
  public:
    // The session of this process.
    static Session& Current();

    // Whether this process was forked from one with a host. The host's threads are missing then, and its lock may be
    // held by one of them.
    bool IsForked() const { return isForked_; }

    // From here on, a forked process is recognized.
    void WatchForks();

    // Releases what the value owns: at once when the lock is free, or else at the end of a call that holds it.
    void Release(Value value);

    // Holds the lock in its scope, and releases what waits. Calls of one thread nest.
    class Call {
      public:
        explicit Call(Session& session) : session_(session), lock_(session.lock_) { session_.ReleaseWaiting(); }
        ~Call() { session_.ReleaseWaiting(); }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

      private:
        Session& session_;
        std::lock_guard<std::recursive_mutex> lock_;
    };

    // What the lock protects. The handles refer to the host's classes.
    std::unique_ptr<Host> host;
    Handles handles;

  private:
    // Releases the values that wait; the lock is held.
    void ReleaseWaiting();

    std::recursive_mutex lock_;
    std::mutex waitingLock_;
    std::vector<Value> waiting_;
    std::atomic<bool> hasWaiting_ = false;
    std::atomic<bool> isForked_ = false;
};

}  // namespace host::library
