// memrw: reads and writes the engine's registers.
//
// A read prints the value in decimal after "Value :", the only form that every awk with
// bit functions takes for a number: gawk reads "0x10" in its input as 0. A written value
// is hexadecimal, with or without "0x", and taken literally. A caller that concatenates
// two halves without padding the lower one with zeros ("0x8000" and "0" to "0x80000")
// writes a value it did not mean, and the tool cannot tell.
#include "devices/engine/tools.h"

#include <cstdio>

namespace engine {

int registerAccess(State &state, const Arguments &arguments)
{
    uint32_t address = 0;
    uint32_t value = 0;
    if (arguments.count < 2 || arguments.count > 3 || !arguments.is(1, "w"))
        return wrongUsage;
    if (!arguments.address(0, "ADDRESS", address))
        return badArguments;
    const uint32_t place = (address - registerBase) / registerSize;
    if (address < registerBase || address % registerSize != 0 || place >= registerCount)
        return arguments.fail("there is no 32-bit register at 0x%x", address);
    if (arguments.count == 3) {
        if (!arguments.plainHex(2, "HEXVALUE", value))
            return badArguments;
        state.registers[place] = value;
        return 0;
    }
    value = state.registers[place];
    snprintf(arguments.reply->output, sizeof(arguments.reply->output),
             "Address : 0x%08x\nValue : %u (0x%08x)\n", address, value, value);
    return 0;
}

} // namespace engine
