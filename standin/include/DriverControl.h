#pragma once

// How a test talks to the stand-in driver, an opengl32.dll that hands every call on to the system's own and, on
// request, records, refuses, answers and judges.

#include "DriverInterface.h"

#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Values behind one pointer of a recorded call: `components` numbers for each element, in the order of their use.
struct DriverArray {
    std::string name;
    std::uint32_t components = 0;
    std::vector<double> values;
};

/// A recorded call, owned by the test.
struct DriverCall {
    std::uint64_t sequence = 0;
    std::string function;
    std::string letters;
    std::vector<std::uint64_t> arguments;
    char resultLetter = 'v';
    std::uint64_t result = 0;
    /// Number of the context that was current, 0 for none.
    std::uint32_t context = 0;
    std::uint32_t thread = 0;
    std::string text;
    std::vector<DriverArray> arrays;

    std::int64_t Integer(std::size_t index) const { return static_cast<std::int64_t>(arguments.at(index)); }
    double Number(std::size_t index) const { return NumberOf(arguments.at(index)); }

    /// The captured array of this name ("vertex", "color", "texcoord", "normal", "attribute3", "index", "value"), or
    /// null.
    const DriverArray* Array(std::string_view name) const {
        for (const DriverArray& array : arrays) {
            if (array.name == name) {
                return &array;
            }
        }
        return nullptr;
    }

    /// `glDrawElements(1, 70000, 5125, 0x0)`, with ` = 7` behind it when the function returns something.
    std::string Text() const {
        std::string line = function + "(";
        for (std::size_t index = 0; index < arguments.size(); ++index) {
            line += index == 0 ? "" : ", ";
            line += TextOf(letters[index], arguments[index]);
        }
        line += ")";
        return resultLetter == 'v' ? line : line + " = " + TextOf(resultLetter, result);
    }

private:
    static double NumberOf(std::uint64_t bits) {
        double number = 0;
        std::memcpy(&number, &bits, sizeof(number));
        return number;
    }
    std::string TextOf(char letter, std::uint64_t value) const {
        char digits[64] = {};
        char* const end = digits + sizeof(digits);
        switch (letter) {
        case 's':
            return '"' + text + '"';
        case 'p':
            std::to_chars(digits, end, value, 16);
            return std::string("0x") + digits;
        case 'f':
            std::to_chars(digits, end, static_cast<float>(NumberOf(value)));
            break;
        case 'd':
            std::to_chars(digits, end, NumberOf(value));
            break;
        case 'i':
            std::to_chars(digits, end, static_cast<std::int64_t>(value));
            break;
        default:
            std::to_chars(digits, end, value);
            break;
        }
        return digits;
    }
};

/// The stand-in driver in the hands of one test: reset when made and when it goes, so that no test inherits another's
/// faults. Objects and contexts that live on stay tracked.
///
/// A function name that the driver does not have is a mistake of the test and throws std::invalid_argument.
class StandIn {
public:
    /// Whether the opengl32.dll of this process is the stand-in. Where the program was started without the override
    /// that prefers a DLL beside it, it is the system's own, and nothing below may be used.
    static bool IsLoaded() { return FindInterface() != nullptr; }

    StandIn() : m_driver(FindInterface()) {
        if (!m_driver) {
            throw std::runtime_error("The opengl32.dll of this process is not the stand-in driver.");
        }
        m_driver->Reset();
    }
    ~StandIn() { m_driver->Reset(); }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    /// Back to plain forwarding: no journal, no violations, no faults, no answers.
    void Reset() { m_driver->Reset(); }

    // The journal.

    /// Empties the journal and records from now on.
    void StartJournal() { m_driver->StartJournal(); }
    /// Stops recording; what was recorded stays readable.
    void StopJournal() { m_driver->StopJournal(); }
    /// Records these functions only, until Reset; a * in a name stands for any text.
    void JournalOnly(const std::vector<std::string>& patterns) {
        std::vector<const char*> texts;
        for (const std::string& pattern : patterns) {
            texts.push_back(pattern.c_str());
        }
        Check(m_driver->JournalOnly(texts.data(), static_cast<std::uint32_t>(texts.size())), "JournalOnly");
    }
    /// The recorded calls in their order; those of one function when its name is given.
    std::vector<DriverCall> Journal(std::string_view function = {}) const {
        std::vector<DriverCall> calls;
        const std::uint64_t size = m_driver->JournalSize();
        for (std::uint64_t index = 0; index < size; ++index) {
            OrrinStandInEntry entry = {};
            if (m_driver->JournalEntry(index, &entry) && (function.empty() || function == entry.function)) {
                calls.push_back(CallOf(entry));
            }
        }
        return calls;
    }
    /// The recorded calls as lines of text.
    std::vector<std::string> JournalText(std::string_view function = {}) const {
        std::vector<std::string> lines;
        for (const DriverCall& call : Journal(function)) {
            lines.push_back(call.Text());
        }
        return lines;
    }
    /// Calls of a function since the last reset, recorded or not, the failed ones included.
    std::uint64_t CallCount(const std::string& function) const {
        std::uint64_t calls = 0;
        Check(m_driver->CallCount(function.c_str(), &calls), function);
        return calls;
    }
    /// Calls of all GL functions since the last reset.
    std::uint64_t GLCallCount() const { return m_driver->GLCallCount(); }

    // Answers.

    /// Text that glGetString gives for GL_VERSION; null makes it fail.
    void SetVersionText(const char* text) { SetStringText(0x1F02, text); }
    void RestoreVersionText() { RestoreStringText(0x1F02); }
    /// Text that glGetString gives for GL_VENDOR; null makes it fail.
    void SetVendorText(const char* text) { SetStringText(0x1F00, text); }
    void RestoreVendorText() { RestoreStringText(0x1F00); }
    void SetStringText(std::uint32_t name, const char* text) { m_driver->SetStringText(name, text); }
    void RestoreStringText(std::uint32_t name) { m_driver->RestoreStringText(name); }
    /// What glGetIntegerv says for one parameter.
    void SetIntegerAnswer(std::uint32_t parameterName, std::int64_t value) {
        SetIntegerAnswer("glGetIntegerv", parameterName, value);
    }
    /// The same for glGetShaderiv, glGetProgramiv and others that end in a parameter name and a pointer to integers.
    void SetIntegerAnswer(const std::string& function, std::uint32_t parameterName, std::int64_t value) {
        Check(m_driver->SetIntegerAnswer(function.c_str(), parameterName, value), function);
    }
    /// Makes wglGetProcAddress deny a function. An export of the DLL can still be found by GetProcAddress.
    void HideEntryPoint(const std::string& function, bool hidden = true) {
        Check(m_driver->HideEntryPoint(function.c_str(), hidden), function);
    }
    /// Whether wglGetProcAddress gives functions of GL 1.0 and 1.1; as on Windows, it does not unless asked to.
    void AnswerLegacyNames(bool on) { m_driver->AnswerLegacyNames(on); }
    /// Lets calls fail without reaching the system's driver: `count` of them, beginning with the nth from now. They
    /// return 0, null, FALSE or what the function has for a failure, and leave `lastError` to GetLastError.
    /// More than one such request may stand for a function; a count of 0 takes all of them back.
    void FailCall(const std::string& function, std::uint32_t nth = 1, std::uint32_t count = 1,
                  std::uint32_t lastError = 0) {
        Check(m_driver->FailCall(function.c_str(), nth, count, lastError), function);
    }
    /// The same with a value of the test's own, such as GL_TIMEOUT_EXPIRED for glClientWaitSync.
    void SetReturnValue(const std::string& function, std::uint32_t nth, std::uint32_t count, std::uint64_t value) {
        Check(m_driver->SetReturnValue(function.c_str(), nth, count, value), function);
    }

    // Pixel formats.

    /// Describes all formats as software ones, and finds none when asked for full acceleration.
    void OnlyGenericFormats(bool on) { m_driver->OnlyGenericFormats(on); }
    /// A machine without any format.
    void NoPixelFormats(bool on) { m_driver->NoPixelFormats(on); }
    /// A made-up list of formats, numbered from 1; empty for the real one. A window that is given one of them gets the
    /// real format nearest to it, so that contexts can be made, and answers with the made-up number.
    void SetFormatList(const std::vector<PIXELFORMATDESCRIPTOR>& formats) {
        m_driver->SetFormatList(formats.data(), static_cast<std::uint32_t>(formats.size()));
    }

    // Strictness.

    /// wglGetProcAddress gives each context functions of its own, those of GL 1.0 and 1.1 too; a call through those of
    /// a context that is not current is a violation. Two contexts whose numbers differ by a multiple of 4 share theirs.
    void PerContextFunctions(bool on) { m_driver->PerContextFunctions(on); }
    /// Makes each fixed-function call a violation in a context (by its number; 0 is the current one).
    void ForbidFixedFunction(std::uint32_t context, bool on) { m_driver->ForbidFixedFunction(context, on); }
    /// Makes it a violation to draw in one context with a uniform that another context changed, where this context set
    /// the same value afterwards: a driver that drops the setting of an equal value draws with an older one here. NOTE:
    /// Mesa is such a driver. What contexts did before this is switched on is not known.
    void JudgeDroppedUniforms(bool on) { m_driver->JudgeDroppedUniforms(on); }
    /// What the code under test did that a strict driver refuses, in order. Kept until ClearViolations or Reset.
    std::vector<std::string> Violations() const {
        std::vector<std::string> texts;
        const std::uint64_t count = m_driver->ViolationCount();
        for (std::uint64_t index = 0; index < count; ++index) {
            texts.emplace_back(m_driver->Violation(index));
        }
        return texts;
    }
    void ClearViolations() { m_driver->ClearViolations(); }

    // What lives.

    std::uint32_t LiveContexts() const { return m_driver->LiveContexts(); }
    std::uint32_t LiveObjects(DriverObject kind) const {
        return m_driver->LiveObjects(static_cast<std::uint32_t>(kind));
    }
    /// Objects of all kinds that are alive.
    std::uint32_t LiveObjects() const { return Sum(m_driver->LiveObjects); }
    /// Objects that nobody deleted and that went, since the last reset, with the last context that had them.
    std::uint32_t AbandonedObjects(DriverObject kind) const {
        return m_driver->AbandonedObjects(static_cast<std::uint32_t>(kind));
    }
    std::uint32_t AbandonedObjects() const { return Sum(m_driver->AbandonedObjects); }
    /// Windows that were given a pixel format and still exist.
    std::uint32_t LiveWindowsWithFormat() const { return m_driver->LiveWindowsWithFormat(); }
    /// All of these in words, for a failing test's message; empty when nothing lives or was abandoned.
    std::string LeakReport() const { return m_driver->LeakReport(); }
    /// The small number that the journal and the violations use for a context, 0 for an unknown one.
    std::uint32_t ContextNumber(HGLRC context) const { return m_driver->ContextNumber(context); }
    std::uint32_t CurrentContextNumber() const { return m_driver->CurrentContextNumber(); }

    // Cost.

    /// Swallows drawing, state work and swaps (fences are signalled at once, mapped buffers are plain memory), so that
    /// only the caller's own cost is left; nothing of that is recorded, counted or judged. Making objects and asking
    /// for texts and limits go on as ever, answers of the test's own included. To be switched on before a context's
    /// functions are looked up, for wglGetProcAddress then hands out empty functions, those of GL 1.0 and 1.1 too.
    void NullDriver(bool on) { m_driver->NullDriver(on); }

private:
    static const OrrinStandInInterface* FindInterface() {
        const HMODULE module = LoadLibraryW(L"opengl32.dll");
        if (!module) {
            return nullptr;
        }
        using InterfaceFunction = const OrrinStandInInterface* (*)();
        const FARPROC address = GetProcAddress(module, "OrrinStandIn_Interface");
        InterfaceFunction function = nullptr;
        static_assert(sizeof(function) == sizeof(address));
        std::memcpy(&function, &address, sizeof(function));
        const OrrinStandInInterface* driver = function ? function() : nullptr;
        return driver && driver->size == sizeof(OrrinStandInInterface) ? driver : nullptr;
    }
    static void Check(int known, const std::string& function) {
        if (!known) {
            throw std::invalid_argument("The stand-in driver has no such function: " + function);
        }
    }
    static std::uint32_t Sum(std::uint32_t (*count)(std::uint32_t)) {
        std::uint32_t sum = 0;
        for (std::uint32_t kind = 0; kind < static_cast<std::uint32_t>(DriverObject::Count); ++kind) {
            sum += count(kind);
        }
        return sum;
    }
    static DriverCall CallOf(const OrrinStandInEntry& entry) {
        DriverCall call;
        call.sequence = entry.sequence;
        call.function = entry.function;
        call.letters = entry.letters;
        call.arguments.assign(entry.arguments, entry.arguments + entry.argumentCount);
        call.resultLetter = entry.resultLetter;
        call.result = entry.result;
        call.context = entry.context;
        call.thread = entry.thread;
        call.text = entry.text;
        for (std::uint32_t index = 0; index < entry.arrayCount; ++index) {
            const OrrinStandInArray& array = entry.arrays[index];
            call.arrays.push_back({array.name, array.components, {array.values, array.values + array.valueCount}});
        }
        return call;
    }

    const OrrinStandInInterface* m_driver;
};
