// What every command of the command line shares; see the header.
#include "swctl/cli.h"

#include "swctl/json.h"
#include "swctl/outcome.h"
#include "swctl/service.h"
#include "swctl/text.h"

#include <algorithm>
#include <utility>

namespace swctl {

bool Program::mayRun(const std::string &command) const
{
    return everything || std::find(words.begin(), words.end(), command) != words.end();
}

CLI::App *addCommand(Program &program, CLI::App &parent, const std::string &name,
                     const std::string &description, const std::string &examples,
                     std::function<int()> action)
{
    CLI::App *command = parent.add_subcommand(name, description);
    command->footer("Examples:\n" + examples);
    command->callback([&program, action = std::move(action)] { program.run = action; });
    return command;
}

CLI::App *addGroup(CLI::App &parent, const std::string &name, const std::string &description)
{
    CLI::App *group = parent.add_subcommand(name, description);
    group->require_subcommand(1);
    return group;
}

int reportAnswer(const Globals &globals, const std::string &what, int status)
{
    if (globals.json)
        printJson({{"request", what}, {"status", status}, {"meaning", statusInWords(status)}});
    else if (status >= 0)
        printf("%s: done\n", printable(what).c_str());
    if (status >= 0)
        return exitDone;
    fprintf(stderr, "swctl: %s: the service answered %s\n", printable(what).c_str(),
            statusInWords(status).c_str());
    return exitRefused;
}

} // namespace swctl
