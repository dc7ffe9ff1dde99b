#include "common/process_notes.h"

namespace mrb {

std::string StillRunningNotes(const std::vector<std::uint32_t>& processes) {
  std::string notes;
  for (const std::uint32_t id : processes) {
    notes += "\n[still running: pid " + std::to_string(id) + " may not be ended]";
  }
  return notes;
}

}  // namespace mrb
