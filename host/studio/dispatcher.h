// dispatcher.h - passes requests to one worker, one after the other, and its answers back.
//
// Requests wait in two ways. An ordinary one waits for its turn. Of those that show the present state, only the newest
// of each sender waits: an older one that has not begun is dropped, because nobody wants to see it any more.
//
// When the worker dies, the request gets an error as its answer, and the next request starts a new worker. To find the
// card that is to blame, the chain is tried again, one card longer each time.
//
// Lifetime: owns its thread and its worker.
// Threads:  any may add requests. Answers are delivered by the dispatcher's thread.

#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/studio/message.h"
#include "host/studio/worker_process.h"

namespace studio {

// Called once with the answer.
using Deliver = std::function<void(const Message& answer)>;

class Dispatcher {
  public:
    // `command` starts the worker.
    explicit Dispatcher(std::vector<std::string> command);
    ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    // Adds a request. Returns false when too many wait.
    [[nodiscard]] bool Add(std::string request, Deliver deliver);

    // Makes a request the newest of a sender.
    void SetNewest(int sender, std::string request, Deliver deliver);

    // Forgets what waits of a sender.
    void Forget(int sender);

    // Adds a request and waits for its answer.
    [[nodiscard]] Message Ask(std::string request);

  private:
    struct Job {
        std::string request;
        Deliver deliver;
    };

    void Run();

    // The next job. Returns false at the end.
    bool Next(Job& job);

    Message AnswerTo(const Job& job);

    // Returns the name of the card that ends the worker; empty when none does.
    std::string CardToBlame(const std::string& request);

    WorkerProcess worker_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable hasWork_;
    std::deque<Job> jobs_;
    std::map<int, Job> newest_;
    bool isEnding_ = false;
    std::thread thread_;  // last: it uses the others
};

}  // namespace studio
