#pragma once

#include <cerrno>

namespace gaizior::platform {

/// Makes a system call again for as long as signals interrupt it.
template <class Call>
auto Retry(Call&& call) -> decltype(call()) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace gaizior::platform
