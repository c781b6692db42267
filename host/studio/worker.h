// worker.h - the studio's worker: opens pictures, renders, saves, and translates between chains and texts.
//
// It handles requests one at a time. A request is a JSON object whose member "call" selects a function in worker.cpp.
// An answer is a JSON object, with bytes where the function returns pixels:
//
//   {"error": "...", "card": "c3"}    what is wrong, and with which card, if one is the cause
//
// The worker reads and writes the files that the server names, and no others: paths never come from the page.
//
// Threads: the host's thread.

#pragma once

#include "host/runtime/host.h"
#include "host/worker/channel.h"

namespace studio {

// Answers requests from a channel until its other side is gone.
void RunWorker(host::Host& host, worker::Channel& channel);

}  // namespace studio
