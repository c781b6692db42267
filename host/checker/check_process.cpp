// check_process.cpp - passes a check to a process as text, and its findings back.

#include "host/checker/check_process.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include "host/runtime/errors.h"
#include "host/worker/texts.h"

namespace checker {

namespace {

constexpr const char* kCheckWork = "check";
constexpr const char* kPartWork = "part";

std::string TextOf(const CheckCall& call) {
    std::vector<std::string> texts = {call.check,
                                      std::to_string(call.seed),
                                      host::NumberText(call.timeLimit),
                                      host::NumberText(call.module.hostVersion),
                                      call.module.path.native(),
                                      call.module.sandbox.native()};
    for (const std::filesystem::path& sibling : call.module.siblings) texts.push_back(sibling.native());
    return worker::Pack(texts);
}

CheckCall CallIn(const std::string& text, const host::CallScope& callScope) {
    const std::vector<std::string> texts = worker::Unpack(text).value();
    constexpr std::size_t kFixed = 6;
    return {.check = texts.at(0),
            .module = {.path = texts.at(4),
                       .siblings = {texts.begin() + kFixed, texts.end()},
                       .callScope = callScope,
                       .hostVersion = std::strtod(texts.at(3).c_str(), nullptr),
                       .sandbox = texts.at(5)},
            .seed = static_cast<unsigned>(std::strtoul(texts.at(1).c_str(), nullptr, 10)),
            .timeLimit = std::strtod(texts.at(2).c_str(), nullptr)};
}

const Check& CheckNamed(const std::string& fullName) {
    for (const Group& group : Groups()) {
        for (const Check& check : group.checks) {
            if (group.name + "." + check.name == fullName) return check;
        }
    }
    throw host::HostError("check " + fullName, "not a check");
}

// The texts of a reply before those of its findings.
constexpr std::size_t kReplyHead = 3;

// Runs a check in this process. Returns a list of texts: why it skipped the check, which is empty when it did not, the
// stack and the calls of a part that crashed, then three texts per finding.
std::string RunHere(const CheckCall& call) {
    CheckContext context(call);
    std::string skipReason;
    try {
        const Check& check = CheckNamed(call.check);
        if (!check.inChild) context.EnterSandbox();
        check.run(context);
    } catch (const SkipCheck& skipped) {
        skipReason = skipped.reason;
    } catch (const host::HostError& error) {
        context.AddFinding("", "modules that can be loaded and used", error.what());
    }
    std::vector<std::string> reply = {skipReason, worker::Pack(context.Stack()), worker::Pack(context.Calls())};
    for (const Finding& finding : context.Findings()) {
        reply.insert(reply.end(), {finding.subject, finding.expected, finding.got});
    }
    return worker::Pack(reply);
}

}  // namespace

std::vector<ChildWork> CheckWorks(host::CallScope callScope) {
    return {
        {kCheckWork, [callScope](const std::string& text) { return RunHere(CallIn(text, callScope)); }},
        {kPartWork,
         [callScope](const std::string& text) {
             const std::vector<std::string> texts = worker::Unpack(text).value();
             CheckContext context(CallIn(texts.at(0), callScope));
             context.EnterSandbox();
             return CheckNamed(context.Name()).inChild(context, texts.at(1));
         }},
    };
}

ChildResult RunCheckInChild(const CheckCall& call) {
    return RunInChild(kCheckWork, TextOf(call), std::chrono::duration<double>(call.timeLimit));
}

ChildResult CheckContext::RunInChild(const std::string& argument, double partOfLimit, ChildExit childExit) {
    ChildResult child = checker::RunInChild(kPartWork, worker::Pack({TextOf(call_), argument}),
                                            std::chrono::duration<double>(call_.timeLimit * partOfLimit), childExit);
    AddTries(child.tries);
    if (child.signal != 0 && stack_.empty()) {
        stack_ = child.stack;
        calls_ = child.calls;
    }
    return child;
}

std::optional<CheckReply> ReplyIn(const std::string& text) {
    const auto texts = worker::Unpack(text);
    if (!texts || texts->size() < kReplyHead || texts->size() % 3 != kReplyHead % 3) return std::nullopt;
    const auto stack = worker::Unpack((*texts)[1]), calls = worker::Unpack((*texts)[2]);
    if (!stack || !calls) return std::nullopt;
    CheckReply reply = {.skipReason = texts->front(), .findings = {}, .stack = *stack, .calls = *calls};
    for (std::size_t i = kReplyHead; i < texts->size(); i += 3) {
        reply.findings.push_back({(*texts)[i], (*texts)[i + 1], (*texts)[i + 2]});
    }
    return reply;
}

}  // namespace checker
