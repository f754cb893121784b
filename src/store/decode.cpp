// The columns of the three tables and their decoders, which are chosen by the type of the
// field.
#include "store/decode.h"

#include "base/log.h"
#include "model/status.h"
#include "platform/number.h"
#include "store/port_list.h"

#include <cstring>
#include <iterator>

namespace {

constexpr size_t portListSize = 512; // terminator included

// Where a value comes from, for log messages.
struct Source {
    const char *table;
    const char *column;
    const char *func; // operation to log under
};

int tooLong(const Source &source, size_t length, size_t capacity)
{
    LOG_AT(SWMGR_LOG_ERROR, noLabel, source.func, __LINE__,
           "%s.%s is too long: %zu characters, at most %zu fit\n", source.table, source.column,
           length, capacity - 1);
    return statusInvalid;
}

int numberDecode(const Source &, const char *text, int32_t &field)
{
    static_cast<void>(decimalRead(text, field)); // text without digits counts as 0
    return 0;
}

template <size_t N>
int textDecode(const Source &source, const char *text, char (&field)[N])
{
    const size_t length = strlen(text);
    if (length >= N)
        return tooLong(source, length, N);
    memcpy(field, text, length + 1);
    return 0;
}

int portListDecode(const Source &source, const char *text, uint32_t &field)
{
    char scratch[portListSize] = "";
    const int status = text != nullptr ? textDecode(source, text, scratch) : 0;
    if (status == 0)
        field = str2num(scratch);
    return status;
}

// One column of a table; the tables below are in lookup order.
template <class Record>
struct Column {
    const char *name;
    // `text` is null if the column is missing or its value is NULL.
    int (*decode)(Record &record, const Source &source, const char *text);
};

template <class Member>
struct RecordOf;
template <class Record, class Field>
struct RecordOf<Field Record::*> {
    using Type = Record;
};

// A column that leaves its field unchanged if there is no value.
template <auto Member, auto Decode>
constexpr auto valueColumn(const char *name)
{
    using Record = typename RecordOf<decltype(Member)>::Type;
    return Column<Record>{name, [](Record &record, const Source &source, const char *text) {
                              return text != nullptr ? Decode(source, text, record.*Member) : 0;
                          }};
}

template <auto Member>
constexpr auto number(const char *name)
{
    return valueColumn<Member, numberDecode>(name);
}

template <auto Member>
constexpr auto text(const char *name)
{
    using Record = typename RecordOf<decltype(Member)>::Type;
    constexpr size_t size = sizeof(Record{}.*Member);
    return valueColumn<Member, textDecode<size>>(name);
}

template <auto Member>
constexpr auto portList(const char *name)
{
    using Record = typename RecordOf<decltype(Member)>::Type;
    return Column<Record>{name, [](Record &record, const Source &source, const char *text) {
                              return portListDecode(source, text, record.*Member);
                          }};
}

constexpr Column<SwitchGlobalCfg> switchColumns[] = {
    text<&SwitchGlobalCfg::switchName>("switchName"),
    text<&SwitchGlobalCfg::switchDevice>("switchDevice"),
    number<&SwitchGlobalCfg::numPorts>("numPorts"),
    number<&SwitchGlobalCfg::vlanEnable>("vlanEnable"),
    number<&SwitchGlobalCfg::qosEnable>("qosEnable"),
    number<&SwitchGlobalCfg::pauseFrameEnable>("pauseFrameEnable"),
    number<&SwitchGlobalCfg::igmpSnoopingEnable>("igmpSnoopingEnable"),
    number<&SwitchGlobalCfg::mldSnoopingEnable>("mldSnoopingEnable"),
    number<&SwitchGlobalCfg::switchLevel>("switchLevel"),
};

constexpr Column<SwitchPortCfg> portColumns[] = {
    number<&SwitchPortCfg::portNumber>("portNumber"),
    number<&SwitchPortCfg::portType>("portType"),
    text<&SwitchPortCfg::phyDevice>("phyDevice"),
    text<&SwitchPortCfg::switchName>("switchName"),
    text<&SwitchPortCfg::interfaceName>("interfaceName"),
    number<&SwitchPortCfg::PVID>("PVID"),
    number<&SwitchPortCfg::mirroring>("mirroring"),
    number<&SwitchPortCfg::trustMode>("trustMode"),
    number<&SwitchPortCfg::rateLimit>("rateLimit"),
    number<&SwitchPortCfg::schedMode>("schedMode"),
    number<&SwitchPortCfg::numQueues>("numQueues"),
    number<&SwitchPortCfg::queue1Weight>("queue1Weight"),
    number<&SwitchPortCfg::queue2Weight>("queue2Weight"),
    number<&SwitchPortCfg::queue3Weight>("queue3Weight"),
    number<&SwitchPortCfg::queue4Weight>("queue4Weight"),
};

constexpr Column<SwitchVlanCfg> vlanColumns[] = {
    number<&SwitchVlanCfg::vlanId>("vlanId"),
    number<&SwitchVlanCfg::inSwitchOnly>("inSwitchOnly"),
    portList<&SwitchVlanCfg::fwdMap>("fwdMap"),
    portList<&SwitchVlanCfg::untagMap>("untagMap"),
    text<&SwitchVlanCfg::ingressMap>("ingressMap"),
    text<&SwitchVlanCfg::egressMap>("egressMap"),
    text<&SwitchVlanCfg::interfaceName>("interfaceName"),
    text<&SwitchVlanCfg::LogicalIfName>("LogicalIfName"),
};

// The value of a column in a row; null if the column is missing or the value is NULL. If the
// name occurs twice, the first column counts.
const char *valueOf(const char *column, char **table, int nCols, int row)
{
    if (table == nullptr || nCols <= 0)
        return nullptr;
    const auto columns = static_cast<size_t>(nCols);
    for (size_t c = 0; c < columns; ++c)
        if (table[c] != nullptr && strcmp(table[c], column) == 0)
            return table[(static_cast<size_t>(row) + 1) * columns + c];
    return nullptr;
}

template <class Record, size_t N>
int rowDecode(const Column<Record> (&columns)[N], const char *tableName, const char *func,
              Record *record, char **table, int nCols, int row)
{
    if (record == nullptr)
        return statusInvalid;
    for (const Column<Record> &column : columns) {
        const Source source{tableName, column.name, func};
        const int status = column.decode(*record, source, valueOf(column.name, table, nCols, row));
        if (status < 0)
            return status;
    }
    return 0;
}

} // namespace

extern "C" int swGlobalCfgFromQueryResultRead(SwitchGlobalCfg *cfg, char **table, int nCols,
                                              int row)
{
    return rowDecode(switchColumns, "swGlobalCfg", __func__, cfg, table, nCols, row);
}

extern "C" int swPortCfgFromQueryResultRead(SwitchPortCfg *cfg, char **table, int nCols, int row)
{
    return rowDecode(portColumns, "swPortConfig", __func__, cfg, table, nCols, row);
}

extern "C" int swVlanCfgFromQueryResultRead(SwitchVlanCfg *cfg, char **table, int nCols, int row)
{
    return rowDecode(vlanColumns, "vlanEncapIf", __func__, cfg, table, nCols, row);
}
