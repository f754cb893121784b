#include "swctl/interruption.h"

#include "client/base/failure.h"

#include <unistd.h>

#include <iterator>

namespace swctl {
namespace {

void onInterruption(int)
{
    constexpr char text[] =
        "\nswctl: unanswered: interrupted before the service answered\n"
        "  The change is recorded; the next swctl, or 'swctl recover', finishes it.\n";
    static_cast<void>(!write(STDERR_FILENO, text, sizeof(text) - 1));
    _exit(exitUnreachable);
}

} // namespace

InterruptionTold::InterruptionTold()
{
    static_assert(std::size(numbers) == std::extent_v<decltype(before)>);
    struct sigaction action = {};
    action.sa_handler = onInterruption;
    for (size_t i = 0; i < std::size(numbers); ++i)
        sigaction(numbers[i], &action, &before[i]);
}

InterruptionTold::~InterruptionTold()
{
    for (size_t i = 0; i < std::size(numbers); ++i)
        sigaction(numbers[i], &before[i], nullptr);
}

} // namespace swctl
