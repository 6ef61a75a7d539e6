// Tympora: hearing-instrument records with XML export and import. This
// umbrella header brings in the whole public C++ interface: the node
// framework, the nine record classes and the component layer.
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

#include "tympora/measurement/curve.hpp"
#include "tympora/measurement/curve_datum.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/measurement/speech_map_datum.hpp"

#include "tympora/records/client.hpp"
#include "tympora/records/client_aid.hpp"
#include "tympora/records/clients.hpp"
#include "tympora/records/examination.hpp"
#include "tympora/records/test_definition.hpp"

#include "tympora/component/component.hpp"
