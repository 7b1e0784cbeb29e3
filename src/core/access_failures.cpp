#include "core/access_failures.h"

#include <errno.h>

namespace zvg::core {

AccessFailures g_access_failures;
void (*g_on_failed_access)() = nullptr;

void note_failed_access(FailedAccess kind, unsigned long request, uint64_t address) {
  g_access_failures = {g_access_failures.count + 1, kind, request, address, errno};
  if (g_on_failed_access != nullptr) g_on_failed_access();
}

}  // namespace zvg::core
