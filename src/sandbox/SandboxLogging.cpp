#include "SandboxLogging.h"

namespace airnote::sandbox {

Q_LOGGING_CATEGORY(sandboxLogger, "sandbox", QtInfoMsg)

} // namespace airnote::sandbox
