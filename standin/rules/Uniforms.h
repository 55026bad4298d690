#pragma once

#include "core/Call.h"

namespace StandInDriver {

struct Context;

/// True for glUniform… and glProgramUniform…, which write uniforms of a program.
bool WritesUniforms(unsigned index);
/// A uniform written while no program is in use is a violation. The call goes on, since OpenGL refuses it itself.
void JudgeUniform(const Call& call);

// Some drivers compare a uniform's new value with what the program holds and drop the write where they are equal. That
// is wrong where another context of the share group wrote the value: the program holds it, but what this context gave
// to its hardware is older, and its draws go on with that. A write of another value in this context, or a draw with
// another program, brings all of the program's uniforms up to date again.

/// Whether draws with a uniform whose last write such a driver would have dropped are violations.
void SetDroppedUniformsJudged(bool on);
void TrackUniform(const Call& call);
void JudgeDrawnUniforms(const Call& call);
/// A program that was linked has new uniforms.
void ForgetUniforms(Call& call);
/// A context that is about to be deleted.
void ForgetUniformsOf(const Context& context);

} // namespace StandInDriver
