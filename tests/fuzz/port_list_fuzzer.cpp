// Port lists, compared with a second implementation of the same rule.
#include "input.h"

#include "store/database.h"
#include "store/port_list.h"

namespace {

using namespace fuzz;

bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The number at the start of a piece, capped where its value no longer matters.
int64_t numberOf(const std::string &piece)
{
    size_t at = 0;
    while (at < piece.size() && isSpace(piece[at]))
        ++at;
    const bool negative = at < piece.size() && piece[at] == '-';
    if (at < piece.size() && (piece[at] == '-' || piece[at] == '+'))
        ++at;
    int64_t value = 0;
    for (; at < piece.size() && piece[at] >= '0' && piece[at] <= '9'; ++at)
        value = std::min<int64_t>(value * 10 + (piece[at] - '0'), 1000);
    return negative ? -value : value;
}

uint32_t maskOf(const std::string &list)
{
    uint32_t mask = 0;
    for (size_t at = 0; at < list.size();) {
        const size_t comma = std::min(list.find(',', at), list.size());
        const int64_t number = numberOf(list.substr(at, comma - at));
        if (comma > at && number >= 0 && number < 32)
            mask |= 1u << number;
        at = comma + 1;
    }
    return mask;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    Input input(bytes, size);
    const std::string list = input.rest().c_str(); // up to the first terminator
    const Block block(list + '\0');
    require(str2num(block.data()) == maskOf(list), "a port list means its numbers");
    return 0;
}
