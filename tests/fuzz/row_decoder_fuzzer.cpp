// The three decoders, on result tables of any shape.
#include "rows.h"

#include "store/decode.h"

#include <memory>

namespace {

using namespace fuzz;

constexpr size_t mostColumns = 20;

// A result table as SQLite lays it out, each text in its own block.
class ResultTable {
public:
    ResultTable(Input &input, const Table &source)
        : columns(static_cast<int>(input.below(mostColumns))),
          rows(1 + static_cast<int>(input.below(2)))
    {
        const auto cells = static_cast<size_t>(columns) * static_cast<size_t>(rows + 1);
        for (size_t c = 0; c < cells; ++c)
            add(c < static_cast<size_t>(columns) ? nameRead(input, source) : cellRead(input));
    }

    char **data() { return pointers.data(); }

    int columns;
    int rows;

private:
    static Cell nameRead(Input &input, const Table &source)
    {
        if (input.below(8) == 0)
            return cellRead(input);
        return {true, source.columns[input.below(source.columns.size())]};
    }

    void add(const Cell &cell)
    {
        texts.push_back(std::make_unique<Block>(cell.text + '\0'));
        pointers.push_back(cell.present ? texts.back()->data() : nullptr);
    }

    std::vector<std::unique_ptr<Block>> texts;
    std::vector<char *> pointers;
};

template <size_t N>
bool ends(const char (&field)[N])
{
    return memchr(field, '\0', N) != nullptr;
}

template <class Record>
Record decode(ResultTable &table, int (*decoder)(Record *, char **, int, int), int &status)
{
    Record record{};
    for (int row = 0; row < table.rows; ++row) {
        status = decoder(&record, table.data(), table.columns, row);
        require(status == 0 || status == -22, "a row is taken or refused");
    }
    require(decoder(nullptr, table.data(), table.columns, 0) == -22, "no record is refused");
    return record;
}

void switchDecode(ResultTable &table)
{
    int status = 0;
    const auto cfg = decode(table, swGlobalCfgFromQueryResultRead, status);
    require(ends(cfg.switchName) && ends(cfg.switchDevice), "the texts of a switch end");
}

void portDecode(ResultTable &table)
{
    int status = 0;
    const auto cfg = decode(table, swPortCfgFromQueryResultRead, status);
    require(ends(cfg.switchName) && ends(cfg.interfaceName) && ends(cfg.phyDevice),
            "the texts of a port end");
}

void vlanDecode(ResultTable &table)
{
    int status = 0;
    const auto cfg = decode(table, swVlanCfgFromQueryResultRead, status);
    require(ends(cfg.interfaceName) && ends(cfg.LogicalIfName) && ends(cfg.ingressMap) &&
                ends(cfg.egressMap),
            "the texts of a VLAN end");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    constexpr void (*decoders[])(ResultTable &) = {switchDecode, portDecode, vlanDecode};
    Input input(bytes, size);
    const size_t kind = input.below(3);
    ResultTable table(input, tables()[kind]);
    decoders[kind](table);
    return 0;
}
