// The commands that only look: show and log.
#include "cli.h"
#include "model.h"
#include "outcome.h"
#include "show.h"
#include "text.h"

#include <cerrno>
#include <cstring>
#include <memory>

namespace swctl {
namespace {

void writeFile(const std::string &path, const std::string &text)
{
    std::FILE *file = std::fopen(path.c_str(), "we");
    bool written = file != nullptr;
    written = written && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file != nullptr)
        written = std::fclose(file) == 0 && written;
    if (!written)
        throw Failure(exitUsage, "cannot write " + printable(path) + ": " + strerror(errno));
}

int runShow(const Globals &globals, const std::string &svgFile)
{
    Database database(globals.database, Access::read);
    const Model model = readModel(database);
    const Matrix matrix = membership(model);
    if (!svgFile.empty())
        writeFile(svgFile, showSvg(model, matrix));
    else if (globals.json)
        showJson(stdout, model, matrix);
    else
        showText(stdout, model, matrix, colourWanted(stdout));
    return exitDone;
}

void addShow(Program &program)
{
    const auto svgFile = std::make_shared<std::string>();
    CLI::App *command = addCommand(
        program, program.app, "show",
        "Show what the database says: the switches with their port mappings, and which port "
        "takes part in which VLAN when the service starts from it",
        "  swctl show\n  swctl show --svg network.svg\n  swctl show --json",
        [&program, svgFile] { return runShow(program.globals, *svgFile); });
    if (!program.mayRun("show"))
        return;
    command->add_option("--svg", *svgFile, "Draw it as a picture into this file")
        ->type_name("FILE");
}

} // namespace

void addViewCommands(Program &program)
{
    addShow(program);
}

} // namespace swctl
