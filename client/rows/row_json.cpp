// Typed values survive: NULL, numbers and text as JSON has them, other bytes and
// text that is no UTF-8 as {"hex": ...}.
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

bool isUtf8(const std::string &text)
{
    try {
        static_cast<void>(Json(text).dump());
        return true;
    } catch (const Json::exception &) {
        return false;
    }
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
    if (json.is_null())
        return std::nullopt;
    Row row;
    row.rowId = json.at("rowid").get<int64_t>();
    for (const Json &cell : json.at("cells"))
        row.cells.push_back({cell.at("column").get<std::string>(), valueOf(cell.at("value")),
                             cell.at("as").get<std::string>()});
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
    if (json.is_number_integer())
        return json.get<int64_t>();
    if (json.is_number())
        return json.get<double>();
    if (json.is_string())
        return json.get<std::string>();
    if (json.is_object() && json.contains("text"))
        return bytesOfHex(json["text"].get<std::string>());
    if (json.is_object() && json.contains("hex"))
        return Blob{bytesOfHex(json["hex"].get<std::string>())};
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
    return {{"what", changes.what}, {"verb", changes.verb}, {"rows", std::move(rows)}};
}

std::optional<ChangeSet> changeSetOf(const Json &json)
{
    try {
        ChangeSet changes;
        changes.what = json.at("what").get<std::string>();
        changes.verb = json.at("verb").get<std::string>();
        for (const Json &row : json.at("rows"))
            changes.rows.push_back({row.at("table").get<std::string>(), rowOf(row.at("before")),
                                    rowOf(row.at("after")), row.value("told", true)});
        return changes;
    } catch (const std::exception &) {
        return std::nullopt;
    }
}

std::string storedText(const Json &json)
{
    return json.dump(-1, ' ', /*ensure_ascii=*/true, Json::error_handler_t::replace);
}

} // namespace swctl
