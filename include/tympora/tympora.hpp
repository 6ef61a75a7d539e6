// Tympora: hearing-instrument records with XML export and import. This
// umbrella header brings in the whole public C++ interface: the node
// framework, every record class (through the component's registration
// table, which names them all) and the component layer.
#pragma once

#include "tympora/node/collection.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/node/frames.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/status.hpp"
#include "tympora/node/variant.hpp"

#include "tympora/component/component.hpp"
#include "tympora/component/registration.hpp"
