// CClients: the root of the record tree, a list of clients with a number of
// its own. Written as the element "Clients" with one "ClientOrPatient" child
// per client; a host exports the whole tree to one file through it. No
// property is reachable by name.
#pragma once

#include "tympora/export.h"

#include <memory>
#include <string_view>

#include "tympora/node/collection.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/record.hpp"
#include "tympora/records/client.hpp"

namespace tympora {

class TYMPORA_API CClients final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "Clients";

  // A new list: ID 0, no clients.
  CClients() = default;

  using RecordBase::ID;

  // The live list of clients: the same object until the next reset. The list
  // shares each client with whoever added it.
  CollectionPtr<CClient> Clients() const { return clients_; }
  // Resets every client (and everything below it), drops it, and replaces the
  // list by a new empty one; a client the host still holds is cleared too.
  void ResetClients() { ResetCollection(clients_); }
  // Adds the caller's client (not a copy) at the end under its ID as decimal
  // text; a later change of the ID does not change the key. Raises 91 for an
  // absent client and 457 for an ID already present; the list is then unchanged.
  void AddClient(const std::shared_ptr<CClient>& Client) { AddChildRecord(clients_, Client); }

  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CClient> clients_ = std::make_shared<Collection<CClient>>();
};

}  // namespace tympora
