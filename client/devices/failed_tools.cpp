#include "client/devices/failed_tools.h"

#include "client/base/failure.h"
#include "client/service/log.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "common/log_entry.h"
#include "common/tool_entry.h"

namespace swctl {

Part<FailedTools> readFailedTools()
{
    Part<FailedTools> part;
    try {
        FailedTools failed;
        if (std::string lacking = awaitLog(); !lacking.empty()) {
            part.reason = std::move(lacking);
            return part;
        }
        const Hearing heard = failedTools([&](const LogLine &line) {
            ToolLine tool;
            ToolEntry entry;
            if (!toolLineRead(line.text.data(), line.text.size(), tool))
                return;
            toolEntryRead(tool, entry);
            std::vector<std::string> &lines =
                entry.vlanId != 0 ? failed.ofVlans[entry.vlanId] : failed.others;
            lines.push_back(std::string(tool.line, tool.length) + " returned " +
                            std::to_string(tool.status));
        });
        part.held = std::move(failed);
        if (heard.lost != 0)
            part.reason = std::to_string(heard.lost) + " records were lost, so there may be more";
    } catch (const Failure &) {
        part.reason = "no log daemon is running";
    }
    return part;
}

} // namespace swctl
