// Mapping texts of a port about to be added to one of the switches.
#include "service.h"

#include "platform/list_of.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"

using namespace fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    // A port that is dropped leaves nothing behind but the order of the switches.
    static auto *service = new Service;
    Input input(bytes, size);
    SwitchPort port{};
    port.portNumber = 50;
    port.ownerSwitch = switchByNameGet(input.below(4) == 0 ? "BCM" : "PSE");
    const std::string text = input.rest().c_str();
    const Block block(text + '\0');
    const int status = switchPortMapInit(&port, block.data());

    size_t mapped = 0;
    for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList)) {
        require(node.mapped->ownerSwitch != port.ownerSwitch,
                "a port is mapped onto another switch");
        ++mapped;
    }
    size_t entries = 0; // non-empty pieces between commas
    for (size_t at = 0; at < text.size(); ++at)
        entries += text[at] != ',' && (at == 0 || text[at - 1] == ',') ? 1 : 0;
    require(status < 0 || mapped == entries, "every entry of a mapping counts");
    require(status == 0 || mapped < entries, "a mapping fails at an entry");
    switchPortMappingsFree(port);
    service->check(0);
    return 0;
}
