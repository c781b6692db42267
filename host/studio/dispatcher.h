// dispatcher.h - passes requests to one worker, one after the other, and its answers back.
//
// The worker is this program in the role "studio" (host/worker/process.h), so that the server never decodes or renders:
// a damaged picture or a faulty filter ends at most the worker.
//
// Requests wait in two ways. An ordinary one waits for its turn. Of those that show the present state, only the newest
// of each sender waits: an older one that has not begun is dropped, because nobody wants to see it any more.
//
// While the worker works on a request, a function of the request can watch its progress.
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
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/studio/message.h"
#include "host/worker/process.h"

namespace studio {

// Called once with the answer.
using Deliver = std::function<void(const Message& answer)>;

// Called a few times a second while the worker works on a request.
using Watch = std::function<void()>;

class Dispatcher {
  public:
    // `setup` is the first message of each worker.
    explicit Dispatcher(std::string setup);
    ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    // Adds a request. Returns false when too many wait.
    [[nodiscard]] bool Add(std::string request, Deliver deliver, Watch watch = {});

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
        Watch watch;
    };
    enum class Outcome { kAnswered, kCrashed, kTookTooLong, kNotStarted };

    void Run();

    // The next job. Returns false at the end.
    bool Next(Job& job);

    // Returns the final answer to a job.
    Message AnswerTo(const Job& job);

    // Starts the worker unless it runs, sends a request, and waits for the answer. Afterward the worker runs only if
    // it has answered.
    Outcome AskWorker(const Job& job, std::chrono::seconds patience, Message& answer);
    bool StartWorker();
    void EndWorker();

    // Returns the name of the card that ends the worker; empty when none does.
    std::string CardToBlame(const std::string& request);

    const std::string setup_;
    std::mutex workerMutex_;  // guards the start and the end of the worker, which belongs to the thread
    std::unique_ptr<worker::Process> worker_;
    bool isStopped_ = false;
    std::mutex mutex_;  // guards what follows
    std::condition_variable hasWork_;
    std::deque<Job> jobs_;
    std::map<int, Job> newest_;
    bool isEnding_ = false;
    std::thread thread_;  // last: it uses the others
};

}  // namespace studio
