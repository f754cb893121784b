// The accounts: what the service does, call by call. Each file in accounts/ is a suite,
// each of its sections a test. With ACCOUNTS_WRITE set, what happened is written to the
// file instead.
#include "support/player.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

struct Section {
    std::string name;
    std::string text; // commands, each with what followed, and comments
};

std::vector<Section> sectionsOf(const std::filesystem::path &path)
{
    std::vector<Section> sections(1); // the first holds what precedes all sections
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("== "))
            sections.push_back({line.substr(3), ""});
        else if (!line.empty())
            sections.back().text += line + "\n";
    return sections;
}

void write(const std::filesystem::path &path, const std::string &name, const std::string &text)
{
    std::vector<Section> sections = sectionsOf(path);
    std::ofstream file(path);
    for (const Section &section : sections)
        file << (section.name.empty() ? "" : "\n== " + section.name + "\n")
             << (section.name == name ? text : section.text);
}

// Marks a line that is empty or ends with a space, so that it is visible.
std::string marked(const std::string &lines)
{
    std::string text;
    std::istringstream each(lines);
    for (std::string line; std::getline(each, line);)
        text += line + (line.empty() || line.ends_with(' ') ? "\\s\n" : "\n");
    return text;
}

struct Account : testing::Test {
    Account(std::filesystem::path file, Section told) : path(std::move(file)), section(told) {}

    void TestBody() override
    {
        Player player;
        std::string happened;
        std::istringstream lines(section.text);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("# "))
                happened += line + "\n";
            if (line.starts_with("> "))
                happened += line + "\n" + marked(player.play(line.substr(2)));
        }
        EXPECT_EQ("", platform::answerAsUsual());
        if (getenv("ACCOUNTS_WRITE") != nullptr)
            write(path, section.name, happened);
        else if (getenv("FAULTS_FRUGAL") != nullptr && path.stem() == "faults")
            EXPECT_EQ("", strayIn(happened));
        else
            EXPECT_EQ(section.text, happened);
    }

    // If only some faults were tried: lines that the account does not have.
    std::string strayIn(const std::string &happened) const
    {
        std::string stray;
        std::istringstream lines(happened);
        for (std::string line; std::getline(lines, line);)
            if (!line.starts_with("and ") &&
                ("\n" + section.text).find("\n" + line + "\n") == std::string::npos)
                stray += line + "\n";
        return stray;
    }

    std::filesystem::path path;
    Section section;
};

const bool registered = [] {
    for (const auto &entry : std::filesystem::directory_iterator(ACCOUNTS)) {
        std::string suite = entry.path().stem();
        suite[0] = static_cast<char>(toupper(suite[0]));
        if (entry.path().extension() != ".txt")
            continue;
        for (const Section &section : sectionsOf(entry.path()))
            if (!section.name.empty())
                testing::RegisterTest(
                    suite.c_str(), section.name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                    [=]() -> Account * { return new Account(entry.path(), section); });
    }
    return true;
}();

} // namespace
