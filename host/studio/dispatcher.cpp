// dispatcher.cpp - a thread that asks the worker.

#include "host/studio/dispatcher.h"

#include <future>
#include <nlohmann/json.hpp>

namespace studio {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMostJobs = 200;

// A request that takes longer has hung.
constexpr std::chrono::seconds kPatience{120};
constexpr std::chrono::seconds kPatienceOfTrial{20};

}  // namespace

Dispatcher::Dispatcher(std::vector<std::string> command) : worker_(std::move(command)), thread_([this] { Run(); }) {}

Dispatcher::~Dispatcher() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
        jobs_.clear();
        newest_.clear();
    }
    hasWork_.notify_all();
    worker_.Stop();
    thread_.join();
}

bool Dispatcher::Add(std::string request, Deliver deliver) {
    {
        const std::scoped_lock lock(mutex_);
        if (jobs_.size() >= kMostJobs) return false;
        jobs_.push_back({std::move(request), std::move(deliver)});
    }
    hasWork_.notify_one();
    return true;
}

void Dispatcher::SetNewest(int sender, std::string request, Deliver deliver) {
    {
        const std::scoped_lock lock(mutex_);
        newest_[sender] = {std::move(request), std::move(deliver)};
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
}

Message Dispatcher::AnswerTo(const Job& job) {
    Message answer;
    const WorkerProcess::Outcome outcome = worker_.Ask({job.request, ""}, kPatience, answer);
    if (outcome == WorkerProcess::Outcome::kAnswered) return answer;
    Json error;
    if (outcome == WorkerProcess::Outcome::kNotStarted) {
        error["error"] = "the rendering process could not be started";
    } else {
        const bool isLate = outcome == WorkerProcess::Outcome::kTookTooLong;
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
        if (worker_.Ask({trial.dump(), ""}, kPatienceOfTrial, answer) != WorkerProcess::Outcome::kAnswered) {
            return cards[count - 1].value("name", "");
        }
    }
    return "";
}

}  // namespace studio
