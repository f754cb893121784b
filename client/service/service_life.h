// Which process serves, and since when.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace swctl {

struct ServingProcess {
    pid_t id = 0; // 0 if the process is in a PID namespace that is not visible here
    uid_t user = 0;
};

// nullopt if the service is not running, or this user may not talk to it.
std::optional<ServingProcess> servingProcess();

// In ms since 1970; nullopt if the service is not running, or relay cannot report which process
// serves.
std::optional<int64_t> serviceStart();

} // namespace swctl
