#include "client/check/accepted.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr const char *table = "swctlAccepted";

bool isThere(Database &database)
{
    return !database.rowsWhere("sqlite_master", {{"name", std::string(table)}}).empty();
}

std::vector<Row> rowsOf(Database &database, const std::string &rule)
{
    if (!isThere(database))
        return {};
    return database.rowsWhere(table, {{"rule", rule}});
}

} // namespace

void markAccepted(Database &database, std::vector<Finding> &findings)
{
    if (!isThere(database))
        return;
    std::set<std::string> rules;
    for (const Row &row : database.rows(table))
        rules.insert(row.text("rule"));
    for (Finding &finding : findings)
        finding.accepted =
            finding.severity == Severity::warning && rules.contains(finding.rule->id);
}

bool acceptRule(Database &database, const Rule &rule)
{
    Transaction transaction(database, Access::write);
    database.run("CREATE TABLE IF NOT EXISTS swctlAccepted (rule TEXT PRIMARY KEY)");
    const bool isNew = rowsOf(database, rule.id).empty();
    if (isNew)
        database.insert(table, {{"rule", std::string(rule.id)}});
    transaction.commit();
    return isNew;
}

bool withdrawRule(Database &database, const Rule &rule)
{
    Transaction transaction(database, Access::write);
    const std::vector<Row> rows = rowsOf(database, rule.id);
    for (const Row &row : rows)
        database.remove(table, row.rowId);
    transaction.commit();
    return !rows.empty();
}

size_t countOf(const std::vector<Finding> &findings, Severity severity)
{
    return static_cast<size_t>(std::count_if(
        findings.begin(), findings.end(),
        [&](const Finding &finding) { return finding.severity == severity && !finding.accepted; }));
}

} // namespace swctl
