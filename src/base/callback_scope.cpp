#include "base/callback_scope.h"

namespace vexo {
namespace {

thread_local CallbackScope *sInnermost = nullptr;

}  // namespace

CallbackScope::CallbackScope(const CallbackToken &token) : token_(&token), outer_(sInnermost) {
    sInnermost = this;
}

CallbackScope::~CallbackScope() {
    sInnermost = outer_;
}

bool CallbackScope::Contains(const CallbackToken &token) {
    for (const CallbackScope *scope = sInnermost; scope; scope = scope->outer_) {
        if (scope->token_ == &token) return true;
    }
    return false;
}

}  // namespace vexo
