// The command line: one CLI11 application that holds every command with its
// help and examples. The manual page and the completion are made from it too.
#pragma once

#include "client/rows/columns.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace swctl {

constexpr const char *defaultDatabase = "/etc/swmgr/config.db";

// Options that hold for every command.
struct Globals {
    std::string database = defaultDatabase; // file of the configuration database
    std::string relayDirectory;             // of the service's sockets; empty: RELAY_DIR
    std::string site;                       // file that says where things are; empty: found
    int wait = 10;                          // s, for another swctl to finish
    bool json = false;                      // print JSON instead of text
};

class RequestLog;
struct RowWish;

struct Program {
    CLI::App app;
    Globals globals;
    std::function<int()> run; // set by the chosen command; gives the exit status

    // The words of the command line. A command that is not among them gets no
    // options, because nobody can ask for them: setting up all commands would
    // take a good part of the time that a change may cost.
    std::vector<std::string> words;
    bool everything = false; // set up all commands, for the documents

    // Takes what commands ask for, to carry it out together.
    std::vector<RowWish> *batch = nullptr;

    [[nodiscard]] bool mayRun(const std::string &command) const;
};

// A command with its examples; `action` runs once the command line is parsed.
CLI::App *addCommand(Program &program, CLI::App &parent, const std::string &name,
                     const std::string &description, const std::string &examples,
                     std::function<int()> action);

// A group of commands, of which one must be given.
CLI::App *addGroup(CLI::App &parent, const std::string &name, const std::string &description);

// What a request came to, in words or as JSON; gives the exit status. `log` was
// listening since before it.
int reportAnswer(const Globals &globals, const std::string &what, int status);
// `fault`: what was found afterwards that is not as asked; empty: nothing.
int reportAnswer(const Globals &globals, const std::string &what, int status, RequestLog &log,
                 const std::string &fault = {});

// The commands, by area.
void addConfigurationCommands(Program &program); // vlan, port, switch
void addSwitchCommands(Program &program);        // rate-limit, queues, qos, ...
void addRequestCommands(Program &program);       // request, bandwidth, event, command
void addViewCommands(Program &program);          // show, log
void addFileCommands(Program &program);          // export, apply, batch
void addInitCommand(Program &program);           // init
void addTrialCommands(Program &program);         // confirm, history, undo
void addStateCommands(Program &program);         // status
void addPortStats(Program &program, CLI::App &group);
void addMetricsCommand(Program &program);  // metrics
void addCompareCommands(Program &program); // diff, repair, recover, rehearse
void addCheckCommand(Program &program);    // check
void addExplainCommand(Program &program);  // explain
void addWatchCommand(Program &program);    // watch

// Made from the commands themselves.
std::string manualPage(const CLI::App &app);
std::string bashCompletion(const CLI::App &app);

} // namespace swctl
