// Values keep their types: NULL, numbers and text map to JSON directly, blobs and text that is
// not UTF-8 become {"hex": ...}.
#include "client/rows/row_json.h"

namespace swctl {
namespace {

std::string hexOf(const std::string &bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

std::string bytesOfHex(const std::string &text)
{
    std::string bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    return bytes;
}

Json toJson(const std::optional<Row> &row)
{
    if (!row)
        return nullptr;
    Json cells = Json::array();
    for (const Row::Cell &cell : row->cells)
        cells.push_back(
            {{"column", cell.column}, {"value", toJson(cell.value)}, {"as", cell.text}});
    return {{"rowid", row->rowId}, {"cells", std::move(cells)}};
}

std::optional<Row> rowOf(const Json &json)
{
    if (json.isNull())
        return std::nullopt;
    Row row;
    row.rowId = json.at("rowid").integer();
    for (const Json &cell : json.at("cells").values())
        row.cells.push_back(
            {cell.at("column").text(), valueOf(cell.at("value")), cell.at("as").text()});
    return row;
}

} // namespace

Json toJson(const Value &value)
{
    if (const auto *number = std::get_if<int64_t>(&value))
        return *number;
    if (const auto *real = std::get_if<double>(&value))
        return *real;
    if (const auto *text = std::get_if<std::string>(&value))
        return isUtf8(*text) ? Json(*text) : Json{{"text", hexOf(*text)}};
    if (const auto *blob = std::get_if<Blob>(&value))
        return Json{{"hex", hexOf(blob->bytes)}};
    return nullptr;
}

Value valueOf(const Json &json)
{
    if (json.isInteger())
        return json.integer();
    if (json.isReal())
        return json.real();
    if (json.isText())
        return json.text();
    if (!json.isObject())
        return {};
    if (const Json *text = json.find("text"))
        return bytesOfHex(text->text());
    if (const Json *hex = json.find("hex"))
        return Blob{bytesOfHex(hex->text())};
    return {};
}

Json toJson(const ChangeSet &changes)
{
    Json rows = Json::array();
    for (const RowChange &change : changes.rows)
        rows.push_back({{"table", change.table},
                        {"before", toJson(change.before)},
                        {"after", toJson(change.after)},
                        {"told", change.told}});
    Json json = {{"what", changes.what}, {"verb", changes.verb}, {"rows", std::move(rows)}};
    if (!changes.through.empty())
        json["through"] = changes.through;
    if (!changes.comment.empty())
        json["comment"] = changes.comment;
    return json;
}

std::optional<ChangeSet> changeSetOf(const Json &json)
{
    try {
        ChangeSet changes;
        changes.what = json.at("what").text();
        changes.verb = json.at("verb").text();
        const auto optionalText = [&](const char *name) {
            const Json *text = json.find(name);
            return text != nullptr ? text->text() : std::string();
        };
        changes.through = optionalText("through");
        changes.comment = optionalText("comment");
        for (const Json &row : json.at("rows").values()) {
            const Json *told = row.find("told");
            changes.rows.push_back({row.at("table").text(), rowOf(row.at("before")),
                                    rowOf(row.at("after")), told == nullptr || told->truth()});
        }
        return changes;
    } catch (const std::exception &) {
        return std::nullopt;
    }
}

} // namespace swctl
