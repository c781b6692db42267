// child.h - work done in a process of its own, so that a crash or an endless loop ends nothing else.
//
// The child is a copy of this process; it answers a text through a pipe and ends. Whatever it prints is kept apart.
// While it works it notes what it is about to do in memory that both processes see, so that its last words are known
// even when it dies. Children nest: a child may have children of its own, and all of them end with it.
//
// Threads: started from a process of one thread, since a copy has no other.

#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace checker {

// How a child ends once its work is done: at once, or as a program does, with everything that runs at exit.
enum class Ending { kAtOnce, kAsPrograms };

// What became of a child.
struct Outcome {
    std::string answer;     // what the work returned; empty when it did not come so far
    bool answered = false;  // whether the work returned
    bool timedOut = false;  // whether it was ended for taking too long
    int signal = 0;         // what it died of; 0 when it ended by itself
    int exitStatus = 0;
    std::string step;    // what it noted last
    std::string output;  // what it printed, both streams
    std::chrono::duration<double> seconds{};

    bool EndedWell() const { return answered && !timedOut && signal == 0 && exitStatus == 0; }
};

// Runs work in a child and waits for its end, at most for the limit. Throws std::system_error when no child can be had.
Outcome RunInChild(const std::function<std::string()>& work, std::chrono::duration<double> limit,
                   Ending ending = Ending::kAtOnce);

// How a child that did not end well ended, in words: "SIGSEGV while reading Jug.Volume".
std::string EndingText(const Outcome& outcome);

// Notes what this process is about to do; the last note of a child is its outcome's step.
void NoteStep(const std::string& step);

}  // namespace checker
