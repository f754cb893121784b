// JSON output: objects keep the order in which their members are written.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace swctl {

using Json = nlohmann::ordered_json;

// One line on standard output. Bytes that are no UTF-8 become U+FFFD, and
// all but ASCII is escaped: a control character or a mark that turns the writing
// direction around does not reach a terminal this way either.
inline void printJson(const Json &json)
{
    const std::string text =
        json.dump(-1, ' ', /*ensure_ascii=*/true, Json::error_handler_t::replace);
    puts(text.c_str());
}

} // namespace swctl
