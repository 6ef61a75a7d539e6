// The handles of the C interface, shared by its sources.
#pragma once

#include <memory>

#include "tympora/component/dispatch.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/tympora.h"

struct tympora_object {
  tympora::Dispatch dispatch;
};

struct tympora_factory {
  std::shared_ptr<tympora::ClassFactory> factory;
};
