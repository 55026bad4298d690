#include "rules/Objects.h"

#include "core/State.h"
#include "core/StateLock.h"
#include "rules/Contexts.h"
#include "rules/Violations.h"

#include <cctype>
#include <cstring>
#include <string_view>

namespace StandInDriver {

namespace {

/// The letters that the function table has for the kinds, in their order.
constexpr std::string_view kKindLetters = "TBSVPHLYFRQOX";
constexpr const char* kKindNames[kObjectKinds] = {
    "texture",     "buffer",       "sampler", "vertex array",     "program",           "shader", "list", "sync",
    "framebuffer", "renderbuffer", "query",   "program pipeline", "transform feedback"};
static_assert(kKindLetters.size() == kObjectKinds);

std::uint32_t g_abandoned[kObjectKinds] = {};

enum class Use { Plain, Deletion, Creation, Question };

Use UseBy(const FunctionDescription& function) {
    const std::string_view name = function.name;
    if (name.starts_with("glDelete")) {
        return Use::Deletion;
    }
    if (name.starts_with("glGen") && !name.starts_with("glGenerate")) {
        return Use::Creation;
    }
    if (name.starts_with("glCreate")) {
        return Use::Creation;
    }
    return name.starts_with("glIs") ? Use::Question : Use::Plain;
}

/// Containers and queries belong to one context, everything else to its share group.
ObjectTable& TableOf(Context& context, DriverObject kind) {
    switch (kind) {
    case DriverObject::VertexArray:
    case DriverObject::Framebuffer:
    case DriverObject::Query:
    case DriverObject::ProgramPipeline:
    case DriverObject::TransformFeedback:
        return context.own;
    default:
        return *context.shared;
    }
}

bool KindOfLetter(char letter, DriverObject& kind) {
    const std::size_t position = kKindLetters.find(static_cast<char>(std::toupper(static_cast<unsigned char>(letter))));
    kind = static_cast<DriverObject>(position);
    return letter != '-' && position != std::string_view::npos;
}

/// Outside the core profile, binding a texture or a buffer by a name of one's own makes it.
bool IsMadeByUse(const Context& context, const FunctionDescription& function, DriverObject kind) {
    const bool makesKind = kind == DriverObject::Texture || kind == DriverObject::Buffer;
    return makesKind && !context.coreProfile && std::string_view(function.name).starts_with("glBind");
}

unsigned long long Shown(std::uint64_t name) {
    return static_cast<unsigned long long>(name);
}

void JudgeUse(Context& context, const FunctionDescription& function, DriverObject kind, std::uint64_t name) {
    if (name == 0) {
        return;
    }
    ObjectTable& table = TableOf(context, kind);
    const TrackedObject* const object = table.Find(kind, name);
    if (object && (object->alive || object->deletePending)) {
        return;
    }
    if (object) {
        AddViolation("%s uses %s %llu after its deletion", function.name, NameOfKind(kind), Shown(name));
    } else if (IsMadeByUse(context, function, kind)) {
        table.Create(kind, name);
    } else {
        AddViolation("%s uses %s %llu, which never was", function.name, NameOfKind(kind), Shown(name));
    }
}

void DetachShader(ObjectTable& table, TrackedObject& program, std::uint64_t shaderName) {
    TrackedObject* const shader = table.Find(DriverObject::Shader, shaderName);
    if (program.attached.erase(shaderName) == 0 || !shader) {
        return;
    }
    --shader->attachments;
    if (shader->attachments == 0) {
        shader->deletePending = false;
    }
}

void JudgeDeletion(Context& context, const FunctionDescription& function, DriverObject kind, std::uint64_t name) {
    if (name == 0) {
        return;
    }
    ObjectTable& table = TableOf(context, kind);
    TrackedObject* const object = table.Find(kind, name);
    if (!object || !object->alive) {
        AddViolation("%s deletes %s %llu, which %s", function.name, NameOfKind(kind), Shown(name),
                     object ? "was deleted before" : "never was");
        return;
    }
    object->alive = false;
    object->deletePending = kind == DriverObject::Shader && object->attachments > 0;
    if (kind == DriverObject::Program) {
        const std::set<std::uint64_t> attached = object->attached;
        for (const std::uint64_t shader : attached) {
            DetachShader(table, *object, shader);
        }
    }
}

template <class Visit>
void VisitNamesOfArray(const Call& call, unsigned position, int countArgument, const Visit& visit) {
    const auto* const names = PointerArgument<const std::uint32_t*>(call, position);
    const auto count = countArgument < 0 ? 0 : static_cast<std::int64_t>(call.arguments[countArgument]);
    for (std::int64_t index = 0; names && index < count; ++index) {
        visit(names[index]);
    }
}

void JudgeArgument(const Call& call, const FunctionDescription& function, unsigned position, DriverObject kind,
                   Use use) {
    const auto judge = [&](std::uint64_t name) {
        use == Use::Deletion ? JudgeDeletion(*call.context, function, kind, name)
                             : JudgeUse(*call.context, function, kind, name);
    };
    if (std::islower(static_cast<unsigned char>(function.objects[position]))) {
        VisitNamesOfArray(call, position, function.countArgument, judge);
        return;
    }
    const std::uint64_t name = call.arguments[position];
    const std::uint64_t count =
        kind == DriverObject::DisplayList && function.countArgument >= 0 ? call.arguments[function.countArgument] : 1;
    for (std::uint64_t index = 0; index < count; ++index) {
        judge(name + index);
    }
}

/// Attaching ties a deleted shader's life to the program's.
void TrackAttachment(const Call& call) {
    ObjectTable& table = *call.context->shared;
    TrackedObject* const program = table.Find(DriverObject::Program, call.arguments[0]);
    TrackedObject* const shader = table.Find(DriverObject::Shader, call.arguments[1]);
    if (!program || !shader) {
        return;
    }
    if (call.index == Index_glDetachShader) {
        DetachShader(table, *program, call.arguments[1]);
    } else if (program->attached.insert(call.arguments[1]).second) {
        ++shader->attachments;
    }
}

} // namespace

ObjectTable::~ObjectTable() {
    for (unsigned kind = 0; kind < kObjectKinds; ++kind) {
        g_abandoned[kind] += CountAlive(static_cast<DriverObject>(kind));
    }
}

TrackedObject* ObjectTable::Find(DriverObject kind, std::uint64_t name) {
    const auto found = NamesOf(kind).find(name);
    return found == NamesOf(kind).end() ? nullptr : &found->second;
}

TrackedObject& ObjectTable::Create(DriverObject kind, std::uint64_t name) {
    return NamesOf(kind)[name] = TrackedObject();
}

std::uint32_t ObjectTable::CountAlive(DriverObject kind) const {
    std::uint32_t count = 0;
    for (const auto& [name, object] : m_names[static_cast<unsigned>(kind)]) {
        count += object.alive ? 1 : 0;
    }
    return count;
}

void ObjectTable::TakeFrom(ObjectTable& other) {
    for (unsigned kind = 0; kind < kObjectKinds; ++kind) {
        m_names[kind].merge(other.m_names[kind]);
        other.m_names[kind].clear();
    }
}

bool TracksObjects(unsigned index) {
    const FunctionDescription& function = kFunctions[index];
    return function.resultObject != '-' || std::strspn(function.objects, "-") != std::strlen(function.objects);
}

void JudgeObjects(const Call& call) {
    const FunctionDescription& function = kFunctions[call.index];
    const Use use = UseBy(function);
    // A creating function's arrays hold nothing yet, and asking whether a name is in use is always allowed.
    if (use == Use::Creation || use == Use::Question) {
        return;
    }
    const StateLock lock;
    for (unsigned position = 0; function.objects[position] != '\0'; ++position) {
        DriverObject kind;
        if (KindOfLetter(function.objects[position], kind)) {
            JudgeArgument(call, function, position, kind, use);
        }
    }
    if (call.index == Index_glAttachShader || call.index == Index_glDetachShader) {
        TrackAttachment(call);
    }
}

void TrackObjects(const Call& call) {
    const FunctionDescription& function = kFunctions[call.index];
    const StateLock lock;
    DriverObject kind;
    if (KindOfLetter(function.resultObject, kind) && call.result != 0) {
        ObjectTable& table = TableOf(*call.context, kind);
        const std::uint64_t count = kind == DriverObject::DisplayList ? call.arguments[0] : 1;
        for (std::uint64_t index = 0; index < count; ++index) {
            table.Create(kind, call.result + index);
        }
        return;
    }
    if (UseBy(function) != Use::Creation) {
        return;
    }
    for (unsigned position = 0; function.objects[position] != '\0'; ++position) {
        if (KindOfLetter(function.objects[position], kind)) {
            VisitNamesOfArray(call, position, function.countArgument, [&](std::uint64_t name) {
                if (name != 0) {
                    TableOf(*call.context, kind).Create(kind, name);
                }
            });
        }
    }
}

void JudgeDrawnProgram(const Call& call) {
    const unsigned name = State(call.context).Program();
    const StateLock lock;
    const TrackedObject* const program = call.context->shared->Find(DriverObject::Program, name);
    if (program && !program->alive) {
        AddViolation("%s draws with program %u after its deletion", kFunctions[call.index].name, name);
    }
}

void TrackNewList(Call& call) {
    const StateLock lock;
    call.context->shared->Create(DriverObject::DisplayList, call.arguments[0]);
}

void JudgeNamedObject(Context& context, unsigned index, DriverObject kind, std::uint64_t name) {
    const StateLock lock;
    JudgeUse(context, kFunctions[index], kind, name);
}

bool JudgeFontLists(Call& call) {
    if (call.context) {
        return true;
    }
    AddViolation("%s is called without a current context", kFunctions[call.index].name);
    call.result = 0;
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
}

void TrackFontLists(Call& call) {
    if (call.result == 0) {
        return;
    }
    const StateLock lock;
    for (std::uint64_t index = 0; index < call.arguments[2]; ++index) {
        call.context->shared->Create(DriverObject::DisplayList, call.arguments[3] + index);
    }
}

const char* NameOfKind(DriverObject kind) {
    return kKindNames[static_cast<unsigned>(kind)];
}

std::uint32_t AbandonedObjectCount(DriverObject kind) {
    const StateLock lock;
    return kind < DriverObject::Count ? g_abandoned[static_cast<unsigned>(kind)] : 0;
}

void ForgetAbandonedObjects() {
    const StateLock lock;
    for (std::uint32_t& count : g_abandoned) {
        count = 0;
    }
}

} // namespace StandInDriver
