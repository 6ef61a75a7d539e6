// The table of CClients: no property at all (PropertyByName reads Empty for
// every name and sets nothing), and one child list, the clients.
#include "tympora/records/clients.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CClients::Info() const {
  static const RecordInfo info(
      kNodeName, "CClients", "Function ExportTXT", {},
      {
          table::Children<&CClients::clients_>("Clients", "AddClient", "ResetClients"),
      });
  return info;
}

}  // namespace tympora
