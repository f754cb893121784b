// JSON output: objects keep the order in which their members are written.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace swctl {

using Json = nlohmann::ordered_json;

// One line on standard output; bytes that are no UTF-8 become U+FFFD.
inline void printJson(const Json &json)
{
    const std::string text =
        json.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
    printf("%s\n", text.c_str());
    fflush(stdout);
}

} // namespace swctl
