// render_session.cpp - the session of a thread.

#include "core/render_session.h"

#include <utility>

namespace core_image {
namespace {

thread_local RenderSession* current = nullptr;

}  // namespace

RenderSession* RenderSession::Current() { return current; }

RenderSession::Scope::Scope(RenderSession& session) : before_(std::exchange(current, &session)) {}

RenderSession::Scope::~Scope() { current = before_; }

}  // namespace core_image
