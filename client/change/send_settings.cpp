#include "client/change/send_settings.h"

#include "client/service/service.h"

#include <algorithm>

namespace swctl {
namespace {

void sendAndTell(const WantedSetting &setting, std::vector<std::string> &done)
{
    const int answer = sendSetting(setting);
    done.push_back(setting.label() + " sent: " + setting.value);
    if (answer < 0)
        done.back() += "; answered " + statusInWords(answer);
}

} // namespace

int sendSetting(const WantedSetting &setting)
{
    int answer = 0;
    for (const SettingRequest &request : setting.requests) {
        answer = askSwitch(setting.switchName, request.command, request.record);
        if (answer < 0)
            break;
    }
    return answer;
}

void addRequests(Script &script, const WantedSetting &setting)
{
    for (const SettingRequest &request : setting.requests)
        script.request(request.command, switchRequest(setting.switchName, request.record));
}

void sendDifferent(const std::vector<Difference> &differences, const Target &target,
                   std::vector<std::string> &done)
{
    for (const WantedSetting &setting : target.settings)
        if (!setting.requests.empty() &&
            std::any_of(differences.begin(), differences.end(),
                        [&](const Difference &one) { return one.setting == setting.label(); }))
            sendAndTell(setting, done);
}

void sendUnknown(const Target &target, const Actual &actual, bool alsoOfStart,
                 std::vector<std::string> &done)
{
    for (const UnknownSetting &unknown : unknownSettings(target, actual))
        if (!unknown.wanted->requests.empty() && (alsoOfStart || !unknown.wanted->byStart))
            sendAndTell(*unknown.wanted, done);
}

std::vector<std::string> roundings(const std::vector<const WantedSetting *> &settings)
{
    std::vector<std::string> all;
    for (const WantedSetting *setting : settings)
        if (!setting->rounded.empty())
            all.push_back("the " + std::string(setting->part) + " takes " + setting->value +
                          " for " + setting->rounded);
    return all;
}

} // namespace swctl
