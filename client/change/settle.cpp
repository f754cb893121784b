#include "client/change/settle.h"

#include "client/base/number.h"
#include "client/base/wire.h"
#include "client/change/send_settings.h"
#include "client/service/service.h"

#include <algorithm>

namespace swctl {
namespace {

int send(const Announcement &announcement)
{
    return ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT, announcement.event,
               announcement.oldValues);
}

// The faults of one VLAN.
struct Complaint {
    bool subInterface = false;
    std::string parent; // of a leftover sub-interface
};

std::map<int, Complaint> complaintsOf(const std::vector<Difference> &differences,
                                      const Target &target,
                                      const std::function<bool(const Difference &)> &mayMend)
{
    std::map<int, Complaint> complaints;
    for (const Difference &difference : differences) {
        if (difference.remedy != Remedy::repair || difference.kind == DifferenceKind::setting ||
            (mayMend && !mayMend(difference)))
            continue;
        // A port's default tag belongs to the VLAN that the port sends untagged.
        Complaint &complaint = complaints[difference.vlanId];
        if (difference.kind != DifferenceKind::subInterface)
            continue;
        complaint.subInterface = true;
        if (!target.kernel.interfaces.contains(difference.parent + "." +
                                               std::to_string(difference.vlanId)))
            complaint.parent = difference.parent;
    }
    return complaints;
}

std::vector<Difference> settingsAmong(std::vector<Difference> all,
                                      const std::function<bool(const Difference &)> &mayMend)
{
    std::erase_if(all, [&](const Difference &difference) {
        return difference.kind != DifferenceKind::setting || difference.remedy != Remedy::repair ||
               (mayMend && !mayMend(difference));
    });
    return all;
}

SwMgrVlanRequest requestFor(int vlanId, const std::string &parent)
{
    SwMgrVlanRequest request{};
    request.vlan.vlanId = vlanId;
    fillField(request.vlan.interfaceName, parent);
    return request;
}

// Removes a VLAN that is not in the rows. If the service does not know it, it must be added
// first.
void clearLeftover(int vlanId, const std::string &parent, bool add)
{
    const SwMgrVlanRequest request = requestFor(vlanId, parent);
    if (add)
        static_cast<void>(ask(SWMGR_RELAY_MODULE_ID, SW_CMD_VLAN_ADD, bytesOf(request)));
    static_cast<void>(ask(SWMGR_RELAY_MODULE_ID, SW_CMD_VLAN_DELETE, bytesOf(request)));
}

// An update rewrites the entry, the tags and the engine. Anything else, or a VLAN unknown to
// the service, needs a removal and an addition. False if the service refuses both.
bool announceAgain(const Row &row, bool whole)
{
    if (!whole && send(announcementOf(row, SWMGR_DB_UPDATE)) >= 0)
        return true;
    static_cast<void>(send(announcementOf(row, SWMGR_DB_DELETE)));
    return send(announcementOf(row, SWMGR_DB_INSERT)) >= 0;
}

// False if the service refuses a VLAN as described by its row. Then the cause affects all
// VLANs, and going on would only remove more of them.
bool mendRound(const std::map<int, Complaint> &complaints, const std::vector<Row> &rows, int round,
               std::vector<std::string> &done)
{
    // Clear leftovers first, since they may occupy what others need.
    for (const auto &[vlanId, complaint] : complaints) {
        const bool inRows = std::any_of(rows.begin(), rows.end(), [id = vlanId](const Row &row) {
            return toInt(row.text("vlanId")) == id;
        });
        if (inRows && complaint.parent.empty())
            continue;
        clearLeftover(vlanId, complaint.parent, round > 0 && !inRows);
        done.push_back("VLAN " + std::to_string(vlanId) + " cleared");
    }
    for (const Row &row : rows) {
        const auto found = complaints.find(toInt(row.text("vlanId")));
        if (found == complaints.end())
            continue;
        done.push_back("VLAN " + row.text("vlanId") + " announced again");
        if (!announceAgain(row, round > 0 || found->second.subInterface)) {
            done.back() += ", and refused";
            return false;
        }
    }
    return true;
}

} // namespace

Settled settle(const GatewayView &gateway, Snapshot &snapshot, const Target &target,
               const std::set<int> &ids, GatewayView::Extent extent, bool mend,
               const Progress &progress, const std::function<bool(const Difference &)> &mayMend)
{
    Settled settled;
    settled.actual = gateway.read(snapshot, target, ids, extent, progress);
    settled.left = counting(differences(target, settled.actual));
    const std::vector<Row> rows = snapshot.database().rows("vlanEncapIf");
    // A VLAN touched because of its sub-interface must be read again even when that difference
    // is gone: its chip entry may remain.
    std::set<int> touched = ids;
    // The result of a start that stops is not worth restoring.
    bool going = mend && !target.stopped;
    while (going && !settled.left.empty() && settled.rounds < mostRounds) {
        const std::map<int, Complaint> complaints = complaintsOf(settled.left, target, mayMend);
        const std::vector<Difference> settings = settingsAmong(settled.left, mayMend);
        if (complaints.empty() && settings.empty())
            break;
        sendDifferent(settings, target, settled.done);
        for (const auto &[vlanId, complaint] : complaints)
            touched.insert(vlanId);
        going = mendRound(complaints, rows, settled.rounds, settled.done);
        ++settled.rounds;
        settled.actual = gateway.read(snapshot, target, touched, extent);
        std::vector<Difference> now = counting(differences(target, settled.actual));
        const bool better = now.size() < settled.left.size();
        settled.left = std::move(now);
        // The first round tries the gentler method, which may have no effect.
        if (!better && settled.rounds > 1)
            break;
    }
    settled.unknown = unknownSettings(target, settled.actual);
    return settled;
}

} // namespace swctl
