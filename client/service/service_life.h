// Since when the service is up.
#pragma once

#include <cstdint>
#include <optional>

namespace swctl {

// In ms since 1970; none where it is not up, or where its relay does not tell which
// process serves.
std::optional<int64_t> serviceStart();

} // namespace swctl
