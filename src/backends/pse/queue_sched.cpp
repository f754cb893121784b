// The engine's number of queues, and the scheduling mode and queue weights of its ports.
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "switch/payload.h"

#include <cmath>

namespace {

constexpr double ln2 = 0.6931471805599453;

// A value in a command and the engine's code for it.
struct Code {
    int32_t value;
    int code;
};

constexpr Code queueCounts[] = {{1, 0}, {2, 1}, {4, 2}};
constexpr Code schedModes[] = {
    {SW_SCHED_MODE_CODE_1, 1}, {SW_SCHED_MODE_CODE_0, 0}, {SW_SCHED_MODE_CODE_2, 2}};

template <size_t N>
const Code *codeOf(const Code (&codes)[N], int32_t value)
{
    for (const Code &code : codes)
        if (code.value == value)
            return &code;
    return nullptr;
}

// The exponent of the highest power of two that is not above the weight. A weight below 1
// counts as 1.
int weightCode(int32_t weight)
{
    return weight > 1 ? static_cast<int>(std::log(static_cast<double>(weight)) / ln2) : 0;
}

// Sets mode and weights of the port that the command names, or of every port.
int portsConfigure(Switch &sw, const SwCmdQueueSched &sched, int modeCode, const char *func)
{
    for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
        if (sched.portNumber != SWMGR_EVERY_PORT && sched.portNumber != port.portNumber)
            continue;
        const int status =
            toolRun(func, __LINE__, "queue_weight_func set %d %d %d %d %d %d", port.portNumber,
                    modeCode, weightCode(sched.queue1Weight), weightCode(sched.queue2Weight),
                    weightCode(sched.queue3Weight), weightCode(sched.queue4Weight));
        if (status != 0) {
            LOG_AT(SWMGR_LOG_ERROR, swPortStrGet(&port), func, __LINE__,
                   "Port Queues weight configuration failed \n");
            return status;
        }
    }
    return 0;
}

} // namespace

extern "C" int pseQueueSchedConfigure(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const auto sched = recordOf<SwCmdQueueSched>(payload);
    const Code *count = codeOf(queueCounts, sched.numQueues);
    if (count == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Invalid number of queues  (%d)\n", sched.numQueues);
        return statusFailed;
    }
    const Code *mode = codeOf(schedModes, sched.schedMode);
    if (mode == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Invalid schedule mode  (%d)\n", sched.schedMode);
        return statusFailed;
    }
    int status = TOOL_RUN("tc_func set %d", count->code);
    if (status != 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to set number of queues in switch\n");
        return status;
    }
    // Without a switch there are no ports; the number of queues is global to the engine.
    status = sw != nullptr ? portsConfigure(*sw, sched, mode->code, __func__) : 0;
    if (status != 0)
        return status;
    LOG_INFO(switchStrGet(sw), "Switch ports Queue scheduling configuring %s. \n", "Success");
    return 0;
}
