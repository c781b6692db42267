// batch.cpp - hands out jobs, one to each worker, and waits for whatever comes first: a result, the end of a worker, a
// signal.

#include "host/batch/batch.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "host/batch/error_text.h"
#include "host/batch/stop_signals.h"
#include "host/worker/process.h"
#include "host/worker/texts.h"

namespace {

using Clock = std::chrono::steady_clock;

// How long the jobs in work may take to finish after a signal. Schedulers wait for 30 s or more before they kill.
constexpr std::chrono::seconds kGrace(10);

constexpr const char* kSucceeded = "done";
constexpr const char* kFailedJob = "failed";

// A worker and the job that it has.
struct Slot {
    std::unique_ptr<worker::Process> process;
    std::optional<std::size_t> job;
    Clock::time_point begin;
};

class Batch {
  public:
    Batch(const BatchOptions& options, std::size_t count, const std::function<std::string(std::size_t)>& request,
          const std::function<AfterJob(const BatchResult&)>& report)
        : options_(options), count_(count), request_(request), report_(report) {
        if (options.handlesStops) stops_.emplace();
        slots_.resize(WorkersOfBatch(count, options.workers));
    }

    int Run() {
        for (;;) {
            if (!isStopping_) HandOut();
            if (!IsWorking()) return signal_;
            Await();
        }
    }

  private:
    bool IsWorking() const {
        return std::ranges::any_of(slots_, [](const Slot& slot) { return slot.job.has_value(); });
    }

    // The next job: one that was not tried yet, then one that is tried again.
    std::optional<std::size_t> Next() {
        if (next_ < count_) return next_++;
        if (again_.empty()) return std::nullopt;
        const std::size_t number = again_.front();
        again_.pop_front();
        return number;
    }

    void HandOut() {
        for (Slot& slot : slots_) {
            if (slot.job || isStopping_) continue;
            const std::optional<std::size_t> number = Next();
            if (!number) return;
            if (!slot.process && !Start(slot)) {
                again_.push_front(*number);
                continue;
            }
            slot.job = number;
            slot.begin = Clock::now();
            // A worker that has just died is noticed when its channel is read.
            static_cast<void>(slot.process->GetChannel().Send(request_(*number)));
        }
    }

    // Starts the worker of a slot. Returns false when the system refuses one worker more, and others run.
    bool Start(Slot& slot) {
        try {
            slot.process = std::make_unique<worker::Process>(worker::StartOptions{.role = options_.role});
        } catch (const std::system_error&) {
            if (!IsWorking()) throw;
            return false;
        }
        static_cast<void>(slot.process->GetChannel().Send(options_.setup));
        return true;
    }

    // Waits until something happens, and handles it.
    void Await() {
        std::vector<pollfd> waiting;
        std::vector<std::size_t> indices;
        for (std::size_t i = 0; i < slots_.size(); ++i) {
            if (!slots_[i].job) continue;
            waiting.push_back({slots_[i].process->GetChannel().Descriptor(), POLLIN, 0});
            indices.push_back(i);
        }
        if (stops_) waiting.push_back({stops_->Descriptor(), POLLIN, 0});
        constexpr int kTick = 1000;
        const int ready = poll(waiting.data(), waiting.size(), options_.onTick || isStopping_ ? kTick : -1);
        if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "cannot wait");
        for (std::size_t i = 0; ready > 0 && i < indices.size(); ++i) {
            if (waiting[i].revents != 0) Finish(slots_[indices[i]]);
        }
        if (stops_) TakeSignals();
        if (options_.onTick) options_.onTick();
    }

    // Takes the result of a job, or finds that its worker has died.
    void Finish(Slot& slot) {
        BatchResult result;
        result.number = *std::exchange(slot.job, std::nullopt);
        result.seconds = std::chrono::duration<double>(Clock::now() - slot.begin).count();
        const std::optional<std::string> message = slot.process->GetChannel().Receive();
        const auto texts = message ? worker::Unpack(*message) : std::nullopt;
        if (texts && texts->size() == 3) {
            const auto& [kind, text, number] = std::tie((*texts)[0], (*texts)[1], (*texts)[2]);
            (kind == kSucceeded ? result.text : result.failure) = text;
            std::from_chars(number.data(), number.data() + number.size(), result.errorNumber);
        } else {
            slot.process->Kill();
            const worker::End end = slot.process->Wait();
            slot.process.reset();
            result.failure = end.Text();
            result.signal = end.signal;
        }
        const AfterJob after = report_(result);
        if (after == AfterJob::kTryAgain) again_.push_back(result.number);
        if (after == AfterJob::kStop) isStopping_ = true;
    }

    void TakeSignals() {
        while (const int signal = stops_->Take()) {
            if (signal_ != 0) return Drop();
            signal_ = signal;
            isStopping_ = true;
            deadline_ = Clock::now() + kGrace;
        }
        if (signal_ != 0 && Clock::now() >= deadline_) Drop();
    }

    // Kills the workers that have a job.
    void Drop() {
        for (Slot& slot : slots_) {
            if (!slot.job) continue;
            slot.process.reset();
            const std::size_t number = *std::exchange(slot.job, std::nullopt);
            if (options_.onDropped) options_.onDropped(number);
        }
    }

    const BatchOptions& options_;
    std::size_t count_;
    const std::function<std::string(std::size_t)>& request_;
    const std::function<AfterJob(const BatchResult&)>& report_;
    std::vector<Slot> slots_;
    std::size_t next_ = 0;
    std::deque<std::size_t> again_;
    std::optional<StopSignals> stops_;
    bool isStopping_ = false;
    int signal_ = 0;
    Clock::time_point deadline_;
};

// The main loop of a worker: runs jobs until the channel ends.
int Serve(worker::Channel& channel, const std::function<BatchJob(const std::string&)>& prepare) {
    const std::optional<std::string> setup = channel.Receive();
    BatchJob job;
    while (const std::optional<std::string> request = setup ? channel.Receive() : std::nullopt) {
        std::vector<std::string> reply;
        try {
            if (!job) job = prepare(*setup);
            reply = {kSucceeded, job(*request), "0"};
        } catch (...) {
            reply = {kFailedJob, ErrorText(), std::to_string(ErrorNumber())};
            // A failure without a text must not look like a success.
            if (reply[1].empty()) reply[1] = "unknown failure";
        }
        if (!channel.Send(worker::Pack(reply))) break;
    }
    return 0;
}

}  // namespace

std::size_t WorkersOfBatch(std::size_t count, std::size_t wanted) {
    return std::min<std::size_t>(wanted != 0 ? wanted : std::max(1u, std::thread::hardware_concurrency()), count);
}

int RunBatch(const BatchOptions& options, std::size_t count, const std::function<std::string(std::size_t)>& request,
             const std::function<AfterJob(const BatchResult&)>& report) {
    return Batch(options, count, request, report).Run();
}

worker::Role BatchRole(std::string name, std::function<BatchJob(const std::string&)> prepare) {
    return {std::move(name),
            [prepare = std::move(prepare)](worker::Channel& channel) { return Serve(channel, prepare); }};
}
