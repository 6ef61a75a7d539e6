"""A small Tympora host in Python: one client with one hearing aid, exported
to an XML file and imported back into a new list. Usage: host.py [FILE]"""
import sys

import tympora


def main():
    path = sys.argv[1] if len(sys.argv) > 1 else "clients.xml"
    aid = tympora.CClientAid()
    aid.ID = 1
    aid.ManufacturerName = "Acme Audio"
    aid.AidModel = "BTE 200"
    aid.AidEar = "Left"
    client = tympora.CClient()
    client.ID = 42
    client.FirstName = "Ann"
    client.LastName = "Smith"
    client.AddAid(aid)
    clients = tympora.CClients()
    clients.AddClient(client)
    try:
        clients.save(path)  # raises tympora.Error when the status is not 0
        copy = tympora.load(path)
        print(f"{len(copy.Clients)} client(s) read back from {path}")
    except tympora.Error as error:
        print(f"status {error.number}: {error.description}")
        return 1
    print("status 0")
    return 0


if __name__ == "__main__":
    sys.exit(main())
