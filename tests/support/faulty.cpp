// Every single fault of one command: at each platform call and each allocation the process
// forks, and the child continues with that call failed until the service stops. So every
// fault is tried with its real past.
#include "support/player.h"

#include "swmgr/swmgr.h"

#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int results[] = {-5, 0, 1};

// Calls that return an object do so for every result that is not negative.
bool givesAnObject(const std::string &line)
{
    for (const char *call : {"calloc", "sqlite3_mprintf", "query", "file /", "relayRegister"})
        if (line.starts_with(call))
            return true;
    return false;
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream each(text);
    for (std::string line; std::getline(each, line);)
        lines.push_back(line);
    return lines;
}

// The engine's register pipelines are long; other accounts have them in full.
std::string cut(const std::string &line)
{
    return line.size() > 110 ? line.substr(0, 100) + "..." : line;
}

// The first and last of many lines in a row.
std::string goneShown(const std::vector<std::string> &lines, size_t first, size_t end)
{
    std::string text;
    const bool many = end - first > 4;
    for (size_t i = first; i < end; ++i)
        if (!many || i == first || i == end - 1)
            text += "  - " + cut(lines[i]) + "\n";
        else if (i == first + 1)
            text += "    and " + std::to_string(end - first - 2) + " up to\n";
    return text;
}

// The lines of `before` that are gone and the new ones, by a longest common subsequence.
std::string difference(const std::vector<std::string> &before, const std::vector<std::string> &now)
{
    std::vector<std::vector<int>> common(before.size() + 1, std::vector<int>(now.size() + 1));
    for (size_t i = before.size(); i-- > 0;)
        for (size_t j = now.size(); j-- > 0;)
            common[i][j] = before[i] == now[j] ? common[i + 1][j + 1] + 1
                                               : std::max(common[i + 1][j], common[i][j + 1]);
    std::string text;
    size_t i = 0, j = 0;
    while (i < before.size() || j < now.size())
        if (i < before.size() && j < now.size() && before[i] == now[j]) {
            ++i, ++j;
        } else if (j == now.size() || (i < before.size() && common[i + 1][j] >= common[i][j + 1])) {
            const size_t first = i;
            ++i;
            while (i < before.size() && (j == now.size() || (before[i] != now[j] &&
                                                             common[i + 1][j] >= common[i][j + 1])))
                ++i;
            text += goneShown(before, first, i);
        } else {
            text += "  + " + cut(now[j++]) + "\n";
        }
    return text;
}

// Runs `body` in a separate process and returns its text.
std::string fromChild(const std::function<std::string()> &body)
{
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = body();
        for (size_t done = 0; done < text.size();)
            done += static_cast<size_t>(write(ends[1], text.data() + done, text.size() - done));
        _exit(0);
    }
    close(ends[1]);
    std::string text;
    char piece[4096];
    for (ssize_t n; (n = read(ends[0], piece, sizeof(piece))) > 0;)
        text.append(piece, static_cast<size_t>(n));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? text + "ended in signal\n" : text;
}

} // namespace

void Player::performFaulty(const std::string &command)
{
    fixture();
    struct Called {
        std::string line;
        int usual;
    };
    // The command with call `failing` answered by `result`, and everything that follows.
    const auto aftermath = [&](size_t failing, int result, std::vector<Called> *calls) {
        size_t number = 0;
        std::vector<std::string> after;
        platform::everything();
        platform::intercept([&](const std::string &line, int usual) {
            if (failing == SIZE_MAX - 1 && line.starts_with("log "))
                return result;
            if (line.starts_with("log ") || line.starts_with("relayDeInit"))
                return usual;
            if (calls != nullptr)
                calls->push_back({line, usual});
            return number++ == failing ? result : usual;
        });
        perform(command);
        platform::intercept(nullptr);
        if (swMgrInitialized == 0)
            perform("start");
        platform::note(modelShown() + "\n" + brokenInvariant());
        perform("vlan add 77 eth0 0x2 0x2");
        perform("vlan delete 77 eth0");
        perform("switch none 47");
        perform("swMgrDeinit");
        platform::note(modelShown() + brokenInvariant());
        return platform::everything();
    };
    std::vector<Called> calls;
    const std::string listed = fromChild([&] {
        aftermath(SIZE_MAX, 0, &calls);
        std::string text;
        for (const Called &one : calls)
            text += std::to_string(one.usual) + " " + one.line + "\n";
        return text;
    });
    const auto undisturbed = linesOf(fromChild([&] { return aftermath(SIZE_MAX, 0, nullptr); }));
    const auto differing = [&](size_t call, int result, const std::string &line) {
        auto now = linesOf(fromChild([&] { return aftermath(call, result, nullptr); }));
        // A tool's status is logged; that alone does not count as a difference.
        for (std::string &one : now)
            if (line.starts_with("cmd ") && one == "log 8 cmd (" + line.substr(4) + ") returned (" +
                                                       std::to_string(result) + ").\\n")
                one = "log 8 cmd (" + line.substr(4) + ") returned (0).\\n";
        return difference(undisturbed, now);
    };
    const bool frugal = getenv("FAULTS_FRUGAL") != nullptr;
    size_t number = 0;
    std::vector<std::string> alike; // consecutive calls whose faults have the same effect
    std::string outcome;
    const auto tell = [&] {
        for (size_t i = 0; i < alike.size(); ++i)
            if (i == 0 || i == alike.size() - 1)
                platform::note(cut(alike[i]));
            else if (i == 1)
                platform::note("and " + std::to_string(alike.size() - 2) + " calls up to");
        if (!outcome.empty())
            platform::note(outcome);
        alike.clear();
    };
    for (const std::string &entry : linesOf(listed)) {
        const std::string line = entry.substr(entry.find(' ') + 1);
        if (frugal && number % 11 != 0) {
            ++number;
            continue;
        }
        std::map<std::string, std::string> resultsOf; // by their effect
        for (const int result : results)
            if (result != atoi(entry.c_str()) && (result <= 0 || !givesAnObject(line)))
                resultsOf[differing(number, result, line)] += " " + std::to_string(result);
        std::string text;
        for (const auto &[found, those] : resultsOf)
            text += (found.empty() ? " harmless" : "") + those + "\n" + found;
        ++number;
        if (text != outcome && !alike.empty())
            tell();
        outcome = text;
        alike.push_back(line);
    }
    tell();
    const std::string lost = differing(SIZE_MAX - 1, -5, "log ");
    platform::note("every log record lost\n" + (lost.empty() ? " harmless" : lost));
}
