// What the service's log says of its load of the configuration.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

struct LastLoad {
    std::string unknown;              // why it is not known; empty: it is
    bool stopped = false;             // it did not take the whole configuration
    int64_t time = 0;                 // ns since 1970, of the line that says so
    std::vector<std::string> reasons; // lines of the log, the last one says what failed

    // "went through, as far as the log tells", "stopped at ...", "not known: ..."
    [[nodiscard]] std::string text() const;
};

// Of the service that started then, in ms since 1970.
LastLoad lastLoadSince(int64_t start);

} // namespace swctl
