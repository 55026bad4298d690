#include "rules/MappedRanges.h"

#include "core/StateLock.h"
#include "core/SystemDriver.h"
#include "rules/Contexts.h"
#include "rules/Violations.h"

#include <cstring>
#include <vector>

namespace StandInDriver {

namespace {

struct Mapping {
    const ObjectTable* shared;
    unsigned buffer;
    const unsigned char* memory; ///< of the buffer's first byte
    std::size_t size;
};

/// What a draw reads, until a fence behind it has signalled.
struct PendingRead {
    const Context* context;
    const ObjectTable* shared;
    unsigned buffer;
    const unsigned char* memory;
    std::size_t size;
    std::uint64_t content;
    std::uint64_t draw;
};

struct Fence {
    std::uint64_t name;
    const Context* context;
    std::uint64_t draw; ///< the last one before it
};

std::vector<Mapping> g_mappings;
std::vector<PendingRead> g_pending;
std::vector<Fence> g_fences;
std::uint64_t g_draws = 0;

template <class F> F Ask(const Call& call, unsigned index) {
    return reinterpret_cast<F>(SystemFunction(index, call.context));
}

unsigned BoundBuffer(const Call& call, std::uint64_t target) {
    constexpr unsigned kArrayBuffer = 0x8892;
    constexpr unsigned kArrayBufferBinding = 0x8894;
    constexpr unsigned kElementBuffer = 0x8893;
    constexpr unsigned kElementBufferBinding = 0x8895;
    if (target != kArrayBuffer && target != kElementBuffer) {
        return 0;
    }
    int buffer = 0;
    Ask<void (*)(unsigned, int*)>(call, Index_glGetIntegerv)(
        target == kArrayBuffer ? kArrayBufferBinding : kElementBufferBinding, &buffer);
    return static_cast<unsigned>(buffer);
}

std::uint64_t HashOf(const unsigned char* memory, std::size_t size) {
    std::uint64_t hash = size;
    for (; size >= sizeof(hash); memory += sizeof(hash), size -= sizeof(hash)) {
        std::uint64_t word = 0;
        std::memcpy(&word, memory, sizeof(word));
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29;
    }
    for (; size > 0; ++memory, --size) {
        hash = (hash ^ *memory) * 0x9E3779B97F4A7C15U;
    }
    return hash;
}

void ForgetBuffer(const Call& call, unsigned buffer) {
    const StateLock lock;
    const ObjectTable* const shared = call.context->shared.get();
    const auto isIts = [&](const auto& item) { return item.shared == shared && item.buffer == buffer; };
    std::erase_if(g_mappings, isIts);
    std::erase_if(g_pending, isIts);
}

void JudgePending() {
    std::erase_if(g_pending, [](const PendingRead& read) {
        if (HashOf(read.memory, read.size) == read.content) {
            return false;
        }
        AddViolation("mapped memory of buffer %u is written before a fence behind the draw that reads it has signalled",
                     read.buffer);
        return true;
    });
}

} // namespace

void TrackMapping(Call& call) {
    constexpr std::uint64_t kWrite = 0x02;
    constexpr std::uint64_t kPersistent = 0x40;
    const std::uint64_t access = call.arguments[3];
    const unsigned buffer = BoundBuffer(call, call.arguments[0]);
    if (call.result == 0 || buffer == 0 || (access & kWrite) == 0 || (access & kPersistent) == 0) {
        return;
    }
    const auto offset = static_cast<std::size_t>(call.arguments[1]);
    const auto* const memory = reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(call.result));
    const StateLock lock;
    g_mappings.push_back(
        {call.context->shared.get(), buffer, memory - offset, offset + static_cast<std::size_t>(call.arguments[2])});
}

bool TrackUnmapping(Call& call) {
    ForgetBuffer(call, BoundBuffer(call, call.arguments[0]));
    return true;
}

bool TrackBufferDeletion(Call& call) {
    const auto* const names = PointerArgument<const unsigned*>(call, 1);
    for (std::int64_t index = 0; names && index < static_cast<int>(call.arguments[0]); ++index) {
        ForgetBuffer(call, names[index]);
    }
    return true;
}

void TrackMappedDraw(Call& call) {
    const StateLock lock;
    ++g_draws;
    if (g_mappings.empty()) {
        return;
    }
    JudgePending();
    constexpr unsigned kBindingBuffer = 0x8F4F;
    constexpr unsigned kBindingOffset = 0x82D7;
    constexpr unsigned kBindingStride = 0x82D8;
    const auto ask = Ask<void (*)(unsigned, unsigned, int*)>(call, Index_glGetIntegeri_v);
    int buffer = 0;
    int offset = 0;
    int stride = 0;
    ask(kBindingBuffer, 0, &buffer);
    ask(kBindingOffset, 0, &offset);
    ask(kBindingStride, 0, &stride);
    const auto begin = static_cast<std::size_t>(offset) + static_cast<unsigned>(stride) * call.arguments[1];
    const std::size_t size = static_cast<unsigned>(stride) * call.arguments[2];
    for (const Mapping& mapping : g_mappings) {
        if (mapping.shared == call.context->shared.get() && mapping.buffer == static_cast<unsigned>(buffer) &&
            size != 0 && begin + size <= mapping.size) {
            const unsigned char* const memory = mapping.memory + begin;
            g_pending.push_back(
                {call.context, mapping.shared, mapping.buffer, memory, size, HashOf(memory, size), g_draws});
        }
    }
}

void TrackFence(Call& call) {
    const StateLock lock;
    if (call.result != 0) {
        std::erase_if(g_fences, [&](const Fence& fence) { return fence.name == call.result; });
        g_fences.push_back({call.result, call.context, g_draws});
    }
}

void TrackFenceWait(Call& call) {
    constexpr std::uint64_t kAlreadySignalled = 0x911A;
    constexpr std::uint64_t kConditionSatisfied = 0x911C;
    if (call.result != kAlreadySignalled && call.result != kConditionSatisfied) {
        return;
    }
    const StateLock lock;
    for (const Fence& fence : g_fences) {
        if (fence.name == call.arguments[0]) {
            std::erase_if(g_pending, [&](const PendingRead& read) {
                return read.context == fence.context && read.draw <= fence.draw;
            });
        }
    }
}

void TrackFinish(Call& call) {
    const StateLock lock;
    std::erase_if(g_pending, [&](const PendingRead& read) { return read.context == call.context; });
}

void ForgetMappedRanges(const Context& context) {
    const StateLock lock;
    const bool last = context.shared.use_count() <= 1;
    std::erase_if(g_mappings, [&](const Mapping& mapping) { return last && mapping.shared == context.shared.get(); });
    std::erase_if(g_pending, [&](const PendingRead& read) {
        return read.context == &context || (last && read.shared == context.shared.get());
    });
    std::erase_if(g_fences, [&](const Fence& fence) { return fence.context == &context; });
}

} // namespace StandInDriver
