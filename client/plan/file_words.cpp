#include "client/plan/file_words.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/rows/row_json.h"

#include <algorithm>

namespace swctl {
namespace {

[[noreturn]] void refuse(const std::string &place, const std::string &why)
{
    throw Failure(exitUsage, printable(place + ": " + why));
}

bool isWhole(const std::string &text)
{
    const std::string digits = text.substr(text.starts_with('-') ? 1 : 0);
    return !digits.empty() && digits.size() <= 18 &&
           digits.find_first_not_of("0123456789") == std::string::npos;
}

Value wholeNumber(const Json &json, const std::string &place)
{
    if (json.isInteger())
        return json.integer();
    if (json.isText() && isWhole(json.text()))
        return int64_t{std::stoll(json.text())};
    refuse(place, "it is not a whole number");
}

std::string portsOf(const Json &json, const std::string &place)
{
    std::string list;
    for (size_t i = 0; i < json.values().size(); ++i) {
        const Json &port = json.values()[i];
        if (!port.isInteger() || port.integer() < 0 || port.integer() >= portListBits)
            refuse(place + "[" + std::to_string(i) + "]",
                   "it is not a port number from 0 to " + std::to_string(portListBits - 1));
        list += (list.empty() ? "" : ",") + std::to_string(port.integer());
    }
    return list;
}

std::string mappingsOf(const Json &json, const std::string &place)
{
    std::string list;
    for (size_t i = 0; i < json.values().size(); ++i) {
        const Json &entry = json.values()[i];
        if (!entry.isText() || entry.text().find(',') != std::string::npos)
            refuse(place + "[" + std::to_string(i) + "]", "it is not a text such as \"BCM:1\"");
        list.append(list.empty() ? "" : ",").append(entry.text());
    }
    return list;
}

} // namespace

Json toFile(const Column &column, const Row::Cell &cell)
{
    const auto *text = std::get_if<std::string>(&cell.value);
    if (column.holds == Holds::flag &&
        (cell.value == Value(int64_t{0}) || cell.value == Value(int64_t{1})))
        return cell.value == Value(int64_t{1});
    if (column.holds == Holds::portList && text != nullptr && listOf(maskOf(*text)) == *text)
        return Json(portsIn(maskOf(*text)));
    if (column.holds != Holds::mapping || text == nullptr)
        return toJson(cell.value);
    Json list = Json::array();
    for (const std::string &entry : entriesOf(*text))
        list.push_back(entry);
    std::string again;
    for (const Json &entry : list.values())
        again.append(again.empty() ? "" : ",").append(entry.text());
    return again == *text ? list : toJson(cell.value);
}

Value fromFile(const Column &column, const Json &json, const std::string &place)
{
    if (json.isNull())
        return {};
    if (column.holds == Holds::flag && json.isBoolean())
        return int64_t{json.truth() ? 1 : 0};
    if (column.isNumber())
        return wholeNumber(json, place);
    if (column.holds == Holds::portList && json.isArray())
        return portsOf(json, place);
    if (column.holds == Holds::mapping && json.isArray())
        return mappingsOf(json, place);
    const bool lists = column.holds == Holds::portList || column.holds == Holds::mapping;
    if (json.isReal() || json.isArray() || json.isBoolean())
        refuse(place, std::string("it is neither text nor null") + (lists ? ", nor a list" : ""));
    return valueOf(json);
}

const Column *columnInFile(std::string_view table, const std::string &member)
{
    for (const Column &column : columnsOf(table))
        if (column.fileName() == member || column.name == member)
            return &column;
    return nullptr;
}

std::string wordMeant(std::string_view table, const std::string &member)
{
    std::vector<std::string> known;
    for (const Column &column : columnsOf(table))
        known.push_back(column.fileName());
    for (const Column &column : columnsOf(table))
        known.emplace_back(column.name);
    const std::string word = nearest(member, known);
    return word.empty() ? word : "; did you mean '" + word + "'?";
}

} // namespace swctl
