#include "rules/DebugNames.h"

#include "rules/Contexts.h"
#include "rules/Objects.h"
#include "rules/Violations.h"

namespace StandInDriver {

namespace {

struct Labelled {
    std::uint64_t identifier;
    DriverObject kind;
};

constexpr Labelled kLabelled[] = {
    {0x82E0, DriverObject::Buffer},       // GL_BUFFER
    {0x82E1, DriverObject::Shader},       // GL_SHADER
    {0x82E2, DriverObject::Program},      // GL_PROGRAM
    {0x82E6, DriverObject::Sampler},      // GL_SAMPLER
    {0x1702, DriverObject::Texture},      // GL_TEXTURE
    {0x8074, DriverObject::VertexArray},  // GL_VERTEX_ARRAY
    {0x8D40, DriverObject::Framebuffer},  // GL_FRAMEBUFFER
    {0x8D41, DriverObject::Renderbuffer}, // GL_RENDERBUFFER
    {0x82E3, DriverObject::Query},        // GL_QUERY
};

} // namespace

bool JudgeObjectLabel(Call& call) {
    if (!call.context) {
        return true;
    }
    for (const Labelled& labelled : kLabelled) {
        if (labelled.identifier == call.arguments[0]) {
            JudgeNamedObject(*call.context, call.index, labelled.kind, call.arguments[1]);
        }
    }
    return true;
}

bool TrackPushedGroup(Call& call) {
    if (call.context) {
        ++call.context->debugGroups;
    }
    return true;
}

bool JudgePoppedGroup(Call& call) {
    if (!call.context) {
        return true;
    }
    if (call.context->debugGroups == 0) {
        AddViolation("glPopDebugGroup closes a group that was never opened");
        return true;
    }
    --call.context->debugGroups;
    return true;
}

void JudgeOpenGroups(const Call& call) {
    if (call.context && call.context->debugGroups != 0) {
        AddViolation("%d groups of glPushDebugGroup are open when the frame is presented", call.context->debugGroups);
    }
}

} // namespace StandInDriver
