// Rehearses one command; see the header.
#include "client/view/foresee.h"

#include "client/base/outcome.h"
#include "client/base/text.h"
#include "client/rehearse/happening_text.h"
#include "swmgr/swmgr_client.h"

namespace swctl {
namespace {

using rehearsal::Kind;

[[noreturn]] void refuse(const std::string &switchName, int command, const std::string &why)
{
    throw Failure(exitRefused, "refused: command " + std::to_string(command) + " for " +
                                   printable(switchName) + ": " + why +
                                   "; nothing was sent. --force sends it all the same");
}

} // namespace

void refuseIdleCommand(GatewayView &gateway, const std::string &switchName, int command,
                       std::string_view request)
{
    Snapshot snapshot(gateway.database());
    Script script = gateway.startScript(snapshot);
    script.request(command, request);
    const Rehearsal rehearsal = rehearse(script);
    size_t actions = 0;
    int answers = 0;
    std::string error;
    for (const Happening &happening : rehearsal.happenings()) {
        answers += happening.kind == Kind::answer ? 1 : 0;
        if (answers == 0)
            continue; // the start
        if (answers == 2) {
            if (happening.number < 0 && actions == 0)
                refuse(switchName, command, error.empty() ? "there is no such switch" : error);
            break;
        }
        if (happening.kind == Kind::log && happening.number == SWMGR_LOG_ERROR && error.empty() &&
            happening.data.find("Invalid command") == std::string_view::npos &&
            happening.data.find("processing returned 0") == std::string_view::npos)
            error = printable(happening.data.substr(0, happening.data.find_last_not_of("\n ") + 1));
        if (!isAction(happening.kind))
            continue;
        ++actions;
        if (happening.number != 0 && happening.kind != Kind::driver)
            refuse(switchName, command,
                   "'" + printable(happening.data) + "' would end with status " +
                       std::to_string(happening.number));
    }
    if (actions == 0)
        refuse(switchName, command,
               error.empty() ? "neither it nor a switch below it has a handler for it" : error);
}

} // namespace swctl
