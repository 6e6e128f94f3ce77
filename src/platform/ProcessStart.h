#pragma once
// Starting other programs from a command line: the registration helper,
// component servers, the self-delete helper and programs the user launches.
#include <cstdint>
#include <string>

namespace kv::modTools {

// Show modes of the started program's first window (the SW_* values).
inline constexpr int32_t kShowHidden = 0;
inline constexpr int32_t kShowNormalFocus = 1;
inline constexpr int32_t kShowMinimizedFocus = 2;
inline constexpr int32_t kShowMaximizedFocus = 3;
inline constexpr int32_t kShowNormalNoFocus = 4;
inline constexpr int32_t kShowMinimizedNoFocus = 6;

// Starts `commandLine` (program path, possibly quoted, followed by its
// arguments) the way the system's shell-less run does: the program is found by
// the usual search rules. Returns false when it could not be started.
// With `wait` the call returns only when the program has ended and stores its
// exit code in `exitCode` (when given); without it the program runs on alone.
// `folder`, when given, is the program's working folder; otherwise it
// inherits ours.
bool StartCommandLine(const std::string& commandLine, int32_t showMode, bool wait = false,
                      uint32_t* exitCode = nullptr, const std::string& folder = {});

// A program started without waiting whose end its starter may still await
// for a bounded time; the handle is let go with the object.
class StartedProgram {
 public:
  StartedProgram() = default;
  ~StartedProgram();
  StartedProgram(StartedProgram&& other) noexcept;
  StartedProgram& operator=(StartedProgram&&) = delete;
  StartedProgram(const StartedProgram&) = delete;
  explicit operator bool() const { return process_ != nullptr; }
  // True once the program has ended, waiting at most `timeoutMs`.
  bool EndsWithin(uint32_t timeoutMs) const;

 private:
  friend StartedProgram StartProgram(const std::string& commandLine, int32_t showMode);
  void* process_ = nullptr;
};
// StartCommandLine without waiting, keeping the program; empty when it could
// not be started.
StartedProgram StartProgram(const std::string& commandLine, int32_t showMode);

// Starts a program normally, focused, in `folder`, and returns once it waits
// for its first input (at most `timeoutMs`): whoever started it may then end
// without leaving it half started.
bool StartProgramReady(const std::string& commandLine, const std::string& folder, uint32_t timeoutMs);

}  // namespace kv::modTools
