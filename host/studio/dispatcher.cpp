// dispatcher.cpp - a thread that asks the worker.

#include "host/studio/dispatcher.h"

#include <poll.h>
#include <unistd.h>

#include <future>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>

namespace studio {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMostJobs = 200;

// A request that takes longer has hung.
constexpr std::chrono::seconds kPatience{120};
constexpr std::chrono::seconds kPatienceOfTrial{20};

// Waits until a descriptor can be read, and calls a function meanwhile. Returns whether it can in time.
bool IsReadableBefore(int descriptor, std::chrono::steady_clock::time_point end, const Watch& watch) {
    constexpr int kTick = 250;  // milliseconds
    while (std::chrono::steady_clock::now() < end) {
        pollfd readable = {descriptor, POLLIN, 0};
        const int ready = poll(&readable, 1, kTick);
        if (ready > 0) return true;
        if (ready == 0 && watch) watch();
    }
    return false;
}

}  // namespace

Dispatcher::Dispatcher(std::string setup) : setup_(std::move(setup)), thread_([this] { Run(); }) {}

Dispatcher::~Dispatcher() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
        jobs_.clear();
        newest_.clear();
    }
    hasWork_.notify_all();
    {
        const std::scoped_lock lock(workerMutex_);
        isStopped_ = true;
        if (worker_) worker_->Kill();
    }
    thread_.join();
}

bool Dispatcher::Add(std::string request, Deliver deliver, Watch watch) {
    {
        const std::scoped_lock lock(mutex_);
        if (jobs_.size() >= kMostJobs) return false;
        jobs_.push_back({std::move(request), std::move(deliver), std::move(watch)});
    }
    hasWork_.notify_one();
    return true;
}

void Dispatcher::SetNewest(int sender, std::string request, Deliver deliver) {
    {
        const std::scoped_lock lock(mutex_);
        newest_[sender] = {std::move(request), std::move(deliver), {}};
    }
    hasWork_.notify_one();
}

void Dispatcher::Forget(int sender) {
    const std::scoped_lock lock(mutex_);
    newest_.erase(sender);
}

Message Dispatcher::Ask(std::string request) {
    // Shared with the thread, which may deliver nothing at the end.
    const auto promise = std::make_shared<std::promise<Message>>();
    std::future<Message> answer = promise->get_future();
    const Message none = {R"({"error": "too many requests"})", ""};
    const bool isAdded = Add(std::move(request), [promise](const Message& message) { promise->set_value(message); });
    return isAdded && answer.wait_for(kPatience) == std::future_status::ready ? answer.get() : none;
}

bool Dispatcher::Next(Job& job) {
    std::unique_lock lock(mutex_);
    hasWork_.wait(lock, [&] { return isEnding_ || !jobs_.empty() || !newest_.empty(); });
    if (isEnding_) return false;
    if (!jobs_.empty()) {
        job = std::move(jobs_.front());
        jobs_.pop_front();
    } else {
        job = std::move(newest_.begin()->second);
        newest_.erase(newest_.begin());
    }
    return true;
}

void Dispatcher::Run() {
    Job job;
    while (Next(job)) job.deliver(AnswerTo(job));
    EndWorker();
}

bool Dispatcher::StartWorker() {
    const std::scoped_lock lock(workerMutex_);
    if (worker_ || isStopped_) return worker_ && !isStopped_;
    try {
        // Standard output has the link and nothing else.
        worker_ = std::make_unique<worker::Process>(
            worker::StartOptions{.role = kWorkerRole, .output = STDERR_FILENO, .leadsGroup = true});
    } catch (const std::system_error&) {
        return false;
    }
    return worker_->GetChannel().Send(setup_);
}

void Dispatcher::EndWorker() {
    const std::scoped_lock lock(workerMutex_);
    worker_.reset();
}

Dispatcher::Outcome Dispatcher::AskWorker(const Job& job, std::chrono::seconds patience, Message& answer) {
    if (!StartWorker()) {
        EndWorker();
        return Outcome::kNotStarted;
    }
    worker::Channel& channel = worker_->GetChannel();
    Outcome outcome = Outcome::kCrashed;
    if (channel.Send(job.request)) {
        const auto end = std::chrono::steady_clock::now() + patience;
        if (!IsReadableBefore(channel.Descriptor(), end, job.watch)) {
            outcome = Outcome::kTookTooLong;
        } else if (std::optional<Message> message = Received(channel)) {
            answer = std::move(*message);
            return Outcome::kAnswered;
        }
    }
    EndWorker();
    return outcome;
}

Message Dispatcher::AnswerTo(const Job& job) {
    Message answer;
    const Outcome outcome = AskWorker(job, kPatience, answer);
    if (outcome == Outcome::kAnswered) return answer;
    Json error;
    if (outcome == Outcome::kNotStarted) {
        error["error"] = "the rendering process could not be started";
    } else {
        const bool isLate = outcome == Outcome::kTookTooLong;
        const std::string card = CardToBlame(job.request);
        const std::string what = isLate ? "took too long" : "ended unexpectedly";
        error["error"] = "the rendering process " + what + "; it was started again";
        error["restarted"] = true;
        if (!card.empty()) error["card"] = card;
    }
    return {error.dump(), ""};
}

std::string Dispatcher::CardToBlame(const std::string& request) {
    Json trial = Json::parse(request);
    if (!trial.contains("cards")) return "";
    const Json cards = trial["cards"];
    for (std::size_t count = 1; count <= cards.size(); ++count) {
        trial["cards"] = Json(cards.begin(), cards.begin() + static_cast<std::ptrdiff_t>(count));
        Message answer;
        if (AskWorker({trial.dump(), {}, {}}, kPatienceOfTrial, answer) != Outcome::kAnswered)
            return cards[count - 1].value("name", "");
    }
    return "";
}

}  // namespace studio
