#include "swctl/interruption.h"

#include "client/base/failure.h"

#include <unistd.h>

#include <cstring>
#include <iterator>

namespace swctl {
namespace {

struct Words {
    const char *text;
    ExitStatus status;
};

constexpr Words ofChange[] = {
    {"\nswctl: interrupted: nothing was written or sent\n", exitRefused},
    {"\nswctl: unanswered: interrupted while the rows were written\n"
     "  The next swctl, or 'swctl recover', finishes or reverts the change.\n",
     exitUnreachable},
    {"\nswctl: unanswered: interrupted before the service answered\n"
     "  The change is recorded; the next swctl, or 'swctl recover', finishes it.\n",
     exitUnreachable},
};
constexpr Words ofRepair = {"\nswctl: interrupted; 'swctl diff' shows what still differs\n",
                            exitUnreachable};

volatile std::sig_atomic_t stageReached = 0;
volatile std::sig_atomic_t repairs = 0;

void onInterruption(int)
{
    const Words &words = repairs != 0 ? ofRepair : ofChange[stageReached];
    static_cast<void>(!write(STDERR_FILENO, words.text, strlen(words.text)));
    _exit(words.status);
}

} // namespace

void changeReached(Stage stage)
{
    stageReached = static_cast<std::sig_atomic_t>(stage);
}

InterruptionTold::InterruptionTold(Work work)
{
    static_assert(std::size(numbers) == std::extent_v<decltype(before)>);
    repairs = work == Work::repair ? 1 : 0;
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
