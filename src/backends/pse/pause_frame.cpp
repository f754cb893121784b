// Pause frames are controlled by bit 31 of three of the engine's registers, which shell
// pipelines read and write back with the register tool.
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "model/status.h"
#include "platform/text.h"
#include "switch/payload.h"

#include <cstdlib>

namespace {

constexpr int pauseBit = 31;

// In writing order. 0x70000014 in between does not belong to them.
constexpr unsigned registers[] = {0x7000000c, 0x70000010, 0x70000018};

using Pipeline = char[toolLineSize];

// The texts are given by the device and must not change. awk needs bit functions; "^" in the
// clear pipeline is exponentiation in awk, not exclusive or.
void setPipeline(Pipeline &line, unsigned reg)
{
    textFormat(
        line,
        "/corefs/bin/memrw %#x w |grep Value | cut -d':' -f 2 |     awk '{rl = $1; val = lshift(1,%d); reg = %#x ;     res = or (rl, val) ; fh = rshift (res, 16);     sh = and (res, 0xFFFF); final_value = sprintf (\"%%#x%%x\", fh, sh);     cmd = \"/corefs/bin/memrw \"reg\" w \"final_value;  system (cmd);}'",
        reg, pauseBit, reg);
}

void clearPipeline(Pipeline &line, unsigned reg)
{
    textFormat(
        line,
        "/corefs/bin/memrw %#x w |grep Value | cut -d':' -f 2 |     awk '{rl = $1; val1 = lshift(1,%d); val = val1^0xFFFFFFFF ; reg = %#x ;     res = and (rl, val) ; fh = rshift (res, 16);     sh = and (res, 0xFFFF); final_value = sprintf (\"%%#x%%x\", fh, sh);     cmd = \"/corefs/bin/memrw \"reg\" w \"final_value;  system (cmd);}'",
        reg, pauseBit, reg);
}

} // namespace

extern "C" int psePauseFrameConfigure(Switch *sw, const void *payload)
{
    if (sw == nullptr || payload == nullptr)
        return statusFailed;
    const bool enable = recordOf<int32_t>(payload) == 1;
    int status = 0;
    for (const unsigned reg : registers) {
        Pipeline line;
        if (enable)
            setPipeline(line, reg);
        else
            clearPipeline(line, reg);
        // The shell gets only fixed text and our own numbers.
        status = system(line); // NOLINT(cert-env33-c)
        if (status < 0) {
            LOG_ERROR(switchStrGet(sw), "Pause Frame configuration failed \n");
            return status;
        }
    }
    LOG_INFO(switchStrGet(sw), "Pause Frame configuration %s \n",
             status == 0 ? "Success" : "Failed");
    return status;
}
