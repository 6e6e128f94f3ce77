#pragma once
// Run-time errors with the classic BASIC numbers. A failure that a routine
// passes on to its caller travels as a VbError; routines that ignore errors
// catch it where they stand.
#include <cstdint>
#include <stdexcept>
#include <string>

namespace kv {

namespace vberr {
inline constexpr int32_t Overflow = 6;
inline constexpr int32_t SubscriptOutOfRange = 9;
inline constexpr int32_t TypeMismatch = 13;
inline constexpr int32_t FileNotFound = 53;
inline constexpr int32_t PermissionDenied = 70;
inline constexpr int32_t PathNotFound = 76;
inline constexpr int32_t DuplicateKey = 457;
// First number reserved for the application's own objects (0x80040001).
inline constexpr int32_t AppObjectError = static_cast<int32_t>(0x80040001u);
// Further classic numbers the package layer raises.
inline constexpr int32_t InvalidProcedureCall = 5;  // keyed lookup of a missing key
inline constexpr int32_t OutOfMemory = 7;
inline constexpr int32_t OutOfStackSpace = 28;      // groups nested too deeply
inline constexpr int32_t BadFileName = 52;
inline constexpr int32_t DiskFull = 61;
inline constexpr int32_t PathFileAccessError = 75;
}  // namespace vberr

class VbError : public std::runtime_error {
 public:
  explicit VbError(int32_t number, const std::string& what = {})
      : std::runtime_error(what.empty() ? "run-time error " + std::to_string(number) : what), number_(number) {}
  int32_t Number() const noexcept { return number_; }

 private:
  int32_t number_;
};

}  // namespace kv
