// worker.h - the studio's worker: opens pictures, renders, saves, and translates between chains and texts.
//
// It answers one request after the other, each a JSON object whose "call" names one of the calls in worker.cpp. An
// answer is a JSON object, with bytes where the call returns pixels:
//
//   {"error": "...", "card": "c3"}    what is wrong, and with which card, if one is the cause
//
// The worker reads and writes the files that the server names, and no others: paths never come from the page.
//
// Threads: the host's thread.

#pragma once

#include "host/runtime/host.h"

namespace studio {

// Answers requests from a socket until its other end is closed.
void RunWorker(host::Host& host, int socket);

}  // namespace studio
