#pragma once
// The version-conflict question (frmConflict): when an installed file differs
// from the package's copy in language or format, the user decides which one to
// keep. The texts are made here; the window itself belongs to the user
// interface, reached through UserInteraction::AskConflict.
#include <cstdint>
#include <string>

#include "base/UserInteraction.h"

namespace kv {
struct Session;
}

namespace kv::frmConflict {

// Bit of the comparison result that means "the languages differ"; any other
// conflict is worded as a difference in format.
inline constexpr uint32_t kLanguageDiffers = 8;

// The dialog's texts for `fileName`: the label naming the kind of conflict,
// both version descriptions (empty for a file without version resource) and
// the question. `caption` is the package's caption.
ConflictQuestion BuildQuestion(const std::string& fileName, const std::string& installedFilePath,
                               const std::string& newFilePath, uint32_t conflictFlags, const std::string& caption);

// Shows the dialog modally and returns its result: 0 cancel, 1 keep the
// installed version, 2 replace it.
int32_t Init(Session& session, const std::string& fileName, const std::string& installedFilePath,
             const std::string& newFilePath, uint32_t conflictFlags, const std::string& caption);

}  // namespace kv::frmConflict
