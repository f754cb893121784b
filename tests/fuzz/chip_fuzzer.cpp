// The chip simulator: an input is a sequence of driver requests.
#include "input.h"

#include "backends/bcm/driver.h"
#include "devices/chip/chip_model.h"
#include "devices/chip/chip_text.h"
#include "standins/sal/device_protocol.h"

#include <memory>

namespace {

using namespace fuzz;

constexpr size_t longestProgram = 64;

constexpr uint32_t requests[] = {BCM_IOC_VLAN_ENABLE,
                                 BCM_IOC_VLAN_DISABLE,
                                 BCM_IOC_PORT_VLAN_MEMBER_GET,
                                 BCM_IOC_PORT_VLAN_MEMBER_ADD,
                                 BCM_IOC_PORT_VLAN_MEMBER_DEL,
                                 BCM_IOC_DEFAULT_TAG_GET,
                                 BCM_IOC_DEFAULT_TAG_SET,
                                 BCM_IOC_VLAN_FWD_MEMBER_GET,
                                 BCM_IOC_VLAN_UNTAG_MEMBER_GET,
                                 BCM_IOC_VLAN_CLEAR,
                                 BCM_IOC_NON8021Q_FRAMES_SET,
                                 BCM_IOC_VLAN_ENTRY_SET,
                                 BCM_IOC_PORT_STATS_GET,
                                 BCM_IOC_LINK_STATUS_GET,
                                 BCM_IOC_TRUST_MODE_SET,
                                 BCM_IOC_QUEUE_SCHED_SET,
                                 BCM_IOC_QOS_SET,
                                 BCM_IOC_PAUSE_FRAME_SET,
                                 BCM_IOC_RATE_LIMIT_SET,
                                 BCM_IOC_COS_QUEUE_MAP_SET};

void portCheck(const chip::Port &port)
{
    require(port.pvid <= chip::highestVlan && port.priority < chip::priorityCount && port.cfi <= 1,
            "a port has a default tag");
    require(port.dropNon8021q <= 1 && port.forwardMap <= chip::allPorts && port.schedMode <= 3,
            "a port holds what its registers can");
    require(port.trustMode >= 0 && port.trustMode <= 4, "a port has a trust mode");
    require(port.rateLimit >= 0 && port.rateLimit <= 1000000, "a port has a rate limit");
    for (const uint8_t queue : port.cosQueue)
        require(queue < chip::queueCount, "a priority has a queue");
}

void modelCheck(const chip::Model &model)
{
    for (const chip::Port &port : model.ports)
        portCheck(port);
    require(!model.vlans[0].present, "VLAN 0 has no entry");
}

// Everything that the chip holds, except its request counters.
constexpr size_t heldSize = offsetof(chip::Model, handled);
unsigned char held[heldSize]; // before the next request

void requestSend(chip::Model &model, Input &input)
{
    const size_t kind = input.below(16);
    const uint32_t number = kind == 0 ? input.number<uint32_t>() : input.pick(requests);
    const int64_t argument = kind == 1 ? input.number<int64_t>() : input.number<int8_t>();
    std::string record(kind == 2 ? input.byte() : device::recordSize(number), '\0');
    input.fill(record.data(), std::min<size_t>(record.size(), 8));
    const Block block(record);
    auto *bytes = reinterpret_cast<uint8_t *>(block.data());

    const int result = model.handle(number, argument, kind == 3 ? nullptr : bytes, block.size());
    if (result < 0)
        require(memcmp(held, &model, heldSize) == 0, "a refused request changes nothing");
    else
        memcpy(held, &model, heldSize);
    require(result <= 1, "a result is 0, 1 or a refusal");
    modelCheck(model);
    const std::string line = chip::requestText(number, argument, bytes, block.size(), result);
    require(!line.empty() && line.find('\n') == std::string::npos, "a request is one line");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    const auto model = std::make_unique<chip::Model>();
    memcpy(held, model.get(), heldSize);
    Input input(bytes, size);
    const bool show = input.below(8) == 0;
    for (size_t step = 0; step < longestProgram && !input.empty(); ++step)
        requestSend(*model, input);
    if (show) {
        require(!chip::stateTable(*model).empty(), "the state is shown");
        require(chip::stateJson(*model).front() == '{', "the state is shown to programs");
    }
    return 0;
}
