// A small Tympora host: one client with one hearing aid, exported to an XML
// file and imported back into a new list. Usage: host [FILE]
#include <iostream>
#include <memory>

#include "tympora/records/clients.hpp"

using namespace tympora;

int main(int argc, char** argv) {
  const std::string path = argc > 1 ? argv[1] : "clients.xml";
  auto aid = std::make_shared<CClientAid>();
  aid->ID(1);
  aid->ManufacturerName("Acme Audio");
  aid->AidModel("BTE 200");
  aid->AidEar("Left");
  auto client = std::make_shared<CClient>();
  client->ID(42);
  client->FirstName("Ann");
  client->LastName("Smith");
  client->AddAid(aid);
  auto clients = std::make_shared<CClients>();
  clients->AddClient(client);
  StatusPtr status = clients->ExportXMLPath(path);  // a null status means success

  if (!status || status->Number() == 0) {
    DOMDocument document = DOMDocument::New();
    document.load(path);  // on failure, documentElement() is absent: import says 2005
    DOMNode root = document.documentElement();
    auto copy = std::make_shared<CClients>();
    status = copy->ImportXMLNode(root);
    std::cout << copy->Clients()->Count() << " client(s) read back from " << path << "\n";
  }
  const int number = status ? status->Number() : 0;
  std::cout << "status " << number << (number ? ": " + status->Description() : "") << "\n";
  return number == 0 ? 0 : 1;
}
