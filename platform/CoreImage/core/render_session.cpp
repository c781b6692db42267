// render_session.cpp - the session of a thread.

#include "core/render_session.h"

#include <utility>

namespace core_image {
namespace {

thread_local RenderSession* currentSession = nullptr;

}  // namespace

RenderSession* RenderSession::Current() { return currentSession; }

RenderSession::Scope::Scope(RenderSession& session) : before_(std::exchange(currentSession, &session)) {}

RenderSession::Scope::~Scope() { currentSession = before_; }

}  // namespace core_image
