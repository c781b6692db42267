// session.cpp - the lock, the values that wait for it, and forks.

#include "host/library/session.h"

#include <pthread.h>

#include <utility>

namespace host::library {

namespace {

std::atomic<bool>* forkedFlag = nullptr;

}  // namespace

Session& Session::Current() {
    static auto* const session = new Session();
    return *session;
}

void Session::WatchForks() {
    if (forkedFlag != nullptr) return;
    forkedFlag = &isForked_;
    pthread_atfork(nullptr, nullptr, [] { *forkedFlag = true; });
}

void Session::Release(Value value) {
    if (lock_.try_lock()) {
        const std::lock_guard adopted(lock_, std::adopt_lock);
        ReleaseWaiting();
        value = {};
        return;
    }
    const std::lock_guard guard(waitingLock_);
    waiting_.push_back(std::move(value));
    hasWaiting_ = true;
}

void Session::ReleaseWaiting() {
    while (hasWaiting_) {
        // Destroyed after the lock of the list is free: a finalizer may release other objects.
        std::vector<Value> released;
        const std::lock_guard guard(waitingLock_);
        released.swap(waiting_);
        hasWaiting_ = false;
    }
}

}  // namespace host::library
