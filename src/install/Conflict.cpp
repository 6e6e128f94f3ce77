#include "install/Conflict.h"

#include "platform/Version.h"
#include "session/Session.h"

namespace kv::frmConflict {

ConflictQuestion BuildQuestion(const std::string& fileName, const std::string& installedFilePath,
                               const std::string& newFilePath, uint32_t conflictFlags, const std::string& caption) {
  ConflictQuestion q;
  const char* kind = (conflictFlags & kLanguageDiffers) != 0 ? " liegt in einer anderen Sprache vor als die mit "
                                                            : " liegt in einem anderen Format vor als die mit ";
  q.text = "Die auf Ihrer Festplatte installierte, ältere Version von " + fileName + kind + caption +
           " mitgelieferte, neuere Version:";
  q.oldDescription = modVersion::DescribeFileVersion(installedFilePath);
  q.newDescription = modVersion::DescribeFileVersion(newFilePath);
  q.whatToDo =
      "Möchten Sie die bisherige Version behalten oder mit der neuen Version überschreiben? (Wenn Sie die bisherige "
      "Version behalten, funktioniert " +
      caption + " möglicherweise nicht ordnungsgemäß)";
  return q;
}

int32_t Init(Session& session, const std::string& fileName, const std::string& installedFilePath,
             const std::string& newFilePath, uint32_t conflictFlags, const std::string& caption) {
  ConflictQuestion q = BuildQuestion(fileName, installedFilePath, newFilePath, conflictFlags, caption);
  switch (session.Ui.AskConflict(q)) {
    case ConflictAnswer::KeepInstalled:
      return 1;
    case ConflictAnswer::Replace:
      return 2;
    default:
      return 0;
  }
}

}  // namespace kv::frmConflict
