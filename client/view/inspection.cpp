#include "client/view/inspection.h"

#include "client/base/number.h"
#include "client/check/check_context.h"
#include "client/service/served_file.h"

#include <algorithm>

namespace swctl {
namespace {

std::vector<Finding> findingsIn(const GatewayView &gateway, Snapshot &snapshot,
                                const Rehearsal &start)
{
    CheckContext context = checkContextOf(gateway);
    context.start = &start;
    return checkConfiguration(snapshot.database(), context);
}

} // namespace

Inspection inspect(GatewayView &gateway, const std::set<int> &vlanIds, const std::set<int> &ports)
{
    Snapshot snapshot(gateway.database());
    Inspection inspection;
    inspection.interfaces = gateway.interfaces();
    inspection.vlanRows = snapshot.database().rows("vlanEncapIf");
    inspection.start.emplace(gateway.rehearseStart(snapshot)->finish());
    inspection.findings = findingsIn(gateway, snapshot, *inspection.start);
    inspection.target = targetOf(*inspection.start, snapshot.database());
    inspection.network = networkOf(snapshot, *inspection.start, inspection.target);
    inspection.actual =
        gateway.read(snapshot, inspection.target, vlanIds, GatewayView::Extent::touched, {}, ports);
    inspection.differences = counting(differences(inspection.target, inspection.actual));
    inspection.unread = inspection.actual.unread();
    const ServedFile served = servedFile(gateway.databasePath());
    if (served.serving == Serving::anotherFile) {
        inspection.unread.push_back("database: " + otherFileText(served.path));
        for (Difference &difference : inspection.differences)
            difference.remedy = Remedy::file;
    }
    return inspection;
}

std::vector<Row> Inspection::rowsOf(int vlanId) const
{
    std::vector<Row> rows;
    for (const Row &row : vlanRows)
        if (toInt(row.text("vlanId")) == vlanId)
            rows.push_back(row);
    return rows;
}

bool Inspection::has(const Device &device) const
{
    return std::any_of(
        network.switches.begin(), network.switches.end(),
        [&](const SwitchConfig &sw) { return sw.device == &device; });
}

} // namespace swctl
