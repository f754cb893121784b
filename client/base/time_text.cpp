#include "client/base/time_text.h"

#include <cstring>
#include <ctime>

namespace swctl {

std::string clockText(int64_t time)
{
    return dateText(time).substr(dateText(0).size() - strlen("12:30:05"));
}

std::string dateText(int64_t time)
{
    const auto seconds = static_cast<time_t>(time);
    tm broken = {};
    localtime_r(&seconds, &broken);
    char text[32];
    strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &broken);
    return text;
}

} // namespace swctl
