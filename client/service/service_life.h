// Since when the service is up.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace swctl {

struct ServingProcess {
    pid_t id = 0; // 0: in a name space that this process does not see
    uid_t user = 0;
};

// The process that serves; none where it is not up, or this user may not talk to it.
std::optional<ServingProcess> servingProcess();

// In ms since 1970; none where it is not up, or where its relay does not tell which
// process serves.
std::optional<int64_t> serviceStart();

} // namespace swctl
