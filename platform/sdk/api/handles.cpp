#include "api/handles.h"

#include <atomic>

namespace api {

namespace {

constexpr unsigned kindShift = 28;
constexpr std::uint32_t numberMask = (1u << kindShift) - 1;

// One count for all kinds and for the life of the process: a handle from before Btsdk_HostShutdown names nothing after
// it.
std::atomic<std::uint64_t> count{0};

} // namespace

std::uint32_t newHandle(HandleKind kind)
{
    std::uint32_t number = 0;
    while (number == 0)
        number = static_cast<std::uint32_t>(++count) & numberMask;
    return static_cast<std::uint32_t>(kind) << kindShift | number;
}

bool wasIssued(std::uint32_t handle, HandleKind kind)
{
    const std::uint32_t number = handle & numberMask;
    return handle >> kindShift == static_cast<std::uint32_t>(kind) && number != 0 && number <= count;
}

} // namespace api
