// The phones of the driven app.
#pragma once

#include "ScriptedPhones.h"

namespace orvane::test {

/// They are there once the app's platform is. Main thread only.
ScriptedPhones& scriptedPhones();

}  // namespace orvane::test
