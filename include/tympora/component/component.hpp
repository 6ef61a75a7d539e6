// The component layer in one include: identity (names, versions, UUIDs),
// creation by name (class factories, CreateObject, DOM documents for hosts),
// late-bound dispatch with the interface description, and the C interface
// with the library's four entry points (tympora/tympora.h).
#pragma once

#include "tympora/component/dispatch.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/component/identity.hpp"
#include "tympora/tympora.h"
