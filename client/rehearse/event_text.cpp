#include "client/rehearse/event_text.h"

#include "client/base/text.h"

namespace swctl {

const char *kindName(rehearsal::Kind kind)
{
    switch (kind) {
    case rehearsal::Kind::command:
        return "tool";
    case rehearsal::Kind::shell:
        return "shell";
    case rehearsal::Kind::driver:
        return "chip";
    case rehearsal::Kind::opened:
        return "open";
    case rehearsal::Kind::written:
        return "write";
    case rehearsal::Kind::removed:
        return "remove";
    case rehearsal::Kind::log:
        return "log";
    case rehearsal::Kind::row:
        return "row";
    case rehearsal::Kind::loaded:
        return "load";
    default:
        return "answer";
    }
}

std::string eventText(const Event &event)
{
    std::string text(event.data);
    switch (event.kind) {
    case rehearsal::Kind::driver:
        return driverText(event);
    case rehearsal::Kind::row:
        return text + " " + std::to_string(event.extra + 1) + " -> " + std::to_string(event.number);
    case rehearsal::Kind::log:
        while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
            text.pop_back();
        return printable(text);
    case rehearsal::Kind::written:
    case rehearsal::Kind::removed:
        return printable(text);
    default:
        return (text.empty() ? text : printable(text) + " ") + "-> " + std::to_string(event.number);
    }
}

bool isAction(rehearsal::Kind kind)
{
    return kind == rehearsal::Kind::command || kind == rehearsal::Kind::driver ||
           kind == rehearsal::Kind::shell;
}

std::string stoppedText(const StoppedAt &stopped)
{
    std::string text = "a start of the service would stop at row " +
                       std::to_string(stopped.row + 1) + " of " + stopped.table;
    for (const std::string &reason : stopped.reasons)
        text += "\n  service: " + printable(reason);
    return text;
}

} // namespace swctl
