#include "client/check/idle_command.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/gateway/devices.h"
#include "client/rehearse/event_text.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

using rehearsal::Kind;

[[noreturn]] void refuse(const std::string &switchName, int command, const std::string &why)
{
    throw Failure(exitRefused, "refused: command " + std::to_string(command) + " for " +
                                   printable(switchName) + ": " + why +
                                   "; nothing was sent. --force sends it anyway");
}

// "; BRIDGE has one" if other kinds of switches support the command; else empty.
std::string othersWith(int command, const std::string &switchName)
{
    std::string names;
    for (const Device *device : devices())
        if (device->name != switchName &&
            std::find(device->commands.begin(), device->commands.end(), command) !=
                device->commands.end())
            names += (names.empty() ? "; " : ", ") + std::string(device->name);
    return names.empty()
               ? names
               : names + (names.find(',') != std::string::npos ? " have" : " has") + " one";
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
    for (const Event &event : rehearsal.events()) {
        answers += event.kind == Kind::answer ? 1 : 0;
        if (answers == 0)
            continue; // the start
        if (answers == 2) {
            if (event.number < 0 && actions == 0)
                refuse(switchName, command, error.empty() ? "there is no such switch" : error);
            break;
        }
        if (event.kind == Kind::log && event.number == SWMGR_LOG_ERROR && error.empty() &&
            !isNoReason(event.data))
            error = printable(event.data.substr(0, event.data.find_last_not_of("\n ") + 1));
        if (!isAction(event.kind))
            continue;
        ++actions;
        if (event.number != 0 && event.kind != Kind::driver)
            refuse(switchName, command,
                   "'" + printable(event.data) + "' would end with status " +
                       std::to_string(event.number));
    }
    if (actions == 0)
        refuse(switchName, command,
               error.empty() ? "neither it nor a switch below it has a handler for it" +
                                   othersWith(command, switchName)
                             : error);
}

} // namespace swctl
