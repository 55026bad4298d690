#pragma once

namespace KTR {

// Programs and their uniforms are shared by all views and take no lock: views that draw with programs on two threads
// draw each other's frames. A checked build tells the debugger the first time that it happens.

#ifdef ORRIN_CHECKED
/// Called by each thread that puts a program into use.
void CheckProgramThread();
/// The programs are gone: the next ones may be another thread's.
void ForgetProgramThread();
#else
inline void CheckProgramThread() {}
inline void ForgetProgramThread() {}
#endif

} // namespace KTR
