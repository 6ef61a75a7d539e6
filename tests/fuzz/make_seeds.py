#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz harnesses into tests/fuzz/<harness>/.

The import seeds are the golden files of tests/data as the library wrote
them, each wrapped in the parents it needs below a client list (a test
session goes into a client aid of a client), plus small hand-made documents
for the corners of the parser and the import. The conversion seeds are texts of numbers, dates and
booleans in the forms of the four locales the harness switches between. The
dispatch seeds are fixed pseudo-random programs. Run it again after a golden
file changes; the output is deterministic.
"""
import pathlib
import random
import re
import struct

HERE = pathlib.Path(__file__).resolve().parent
DATA = HERE.parent / "data"

# The parents each record element needs below "Clients".
PARENTS = {
    "Clients": [],
    "ClientOrPatient": ["Clients"],
    "ClientAid": ["Clients", "ClientOrPatient"],
    "TestSession": ["Clients", "ClientOrPatient", "ClientAid"],
    "Examination": ["Clients", "ClientOrPatient", "ClientAid", "TestSession"],
    "Curve": ["Clients", "ClientOrPatient", "ClientAid", "TestSession", "Examination"],
}


def written(golden):
    """The bytes that a golden file stands for, as text: the file keeps one
    element a line, a LF put between every ">" and the "<" after it; removing
    those LFs gives back what the export wrote, its CR LFs included."""
    return golden.read_bytes().decode("utf-8").replace(">\n<", "><")


def wrap(text):
    """The golden document with its record element wrapped in its parents."""
    match = re.search(r"<([A-Za-z]+)[ >/]", text[text.index("-->"):] if "-->" in text else text)
    root = match.group(1)
    parents = PARENTS.get(root, ["Clients"])
    start = text.index("<" + root)
    head, body = text[:start], text[start:]
    opening = "".join('<%s id="%d">' % (p, i + 1) for i, p in enumerate(parents))
    closing = "".join("</%s>" % p for p in reversed(parents))
    return head + opening + body.rstrip() + closing + "\r\n"


HAND_MADE = {
    "minimal.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName>Ann</FirstName>'
                   "</ClientOrPatient></Clients>",
    "nulls.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName null="true"/>'
                 '<BirthDate null="TRUE">1950-01-02</BirthDate><Deleted null="1">true</Deleted>'
                 "</ClientOrPatient></Clients>",
    "numbers.xml": '<Clients id="12.5"><ClientOrPatient id="&amp;H1F"><ClientAid id=" 3 ">'
                   "<HearingAidColor>1E+400</HearingAidColor><HearingAidChannels>12abc"
                   "</HearingAidChannels></ClientAid></ClientOrPatient></Clients>",
    "id_overflow.xml": '<Clients id="4294967296"/>',
    "markup.xml": '<?xml version="1.0"?>\r\n<!--c--><Clients id="1"><ClientOrPatient id="2">'
                  "<LastName>&lt;&amp;&gt;&quot;&apos;&#13;&#x1F3A7;</LastName>"
                  "<Comment><![CDATA[a]]]]><![CDATA[>b]]></Comment><?pi data?>"
                  "</ClientOrPatient></Clients>",
    "prefixed.xml": '<x:Clients xmlns:x="urn:x" id="1"><x:ClientOrPatient id="2">'
                    "<x:FirstName>Eve</x:FirstName></x:ClientOrPatient></x:Clients>",
    "doctype.xml": '<!DOCTYPE Clients [<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;">'
                   '<!ENTITY ext SYSTEM "file:///etc/hostname">]>'
                   '<Clients id="1"><ClientOrPatient id="2"><FirstName>&b;&ext;</FirstName>'
                   "</ClientOrPatient></Clients>",
    "nested.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName>'
                  + "<a>" * 40 + "deep" + "</a>" * 40 + "</FirstName></ClientOrPatient></Clients>",
    "truncated.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName>Ann</Fir',
    "mismatched.xml": '<Clients id="1"><ClientOrPatient id="2"></Clients></ClientOrPatient>',
    "duplicate_ids.xml": '<Clients id="1"><ClientOrPatient id="2"/><ClientOrPatient id="2"/>'
                         "</Clients>",
    "dates.xml": '<Clients id="1"><ClientOrPatient id="2"><BirthDate>11/22/2026 3:04:05 PM'
                 "</BirthDate><LastEntryDate>22.11.2026 15:04:05</LastEntryDate>"
                 "<RegistrationDate>0100-01-01 00:00:00</RegistrationDate>"
                 "</ClientOrPatient></Clients>",
    "duplicate_attribute.xml": '<Clients id="1"><ClientOrPatient id="2">'
                               '<FirstName null="true" null="false">Ann</FirstName>'
                               "</ClientOrPatient></Clients>",
    "many_attributes.xml": "<Clients" + "".join(' a%d="%d"' % (i, i) for i in range(40))
                           + ' id="1"/>',
    "bare_ampersand.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName>A & B'
                          "</FirstName></ClientOrPatient></Clients>",
    "markup_in_value.xml": '<Clients id="1&lt;2"><ClientOrPatient id="<2"/></Clients>',
    "cdata_end_in_text.xml": '<Clients id="1">]]></Clients>',
    "double_hyphen_comment.xml": '<Clients id="1"><!-- a -- b --></Clients>',
    "bad_version.xml": '<?xml version="banana"?><Clients id="1"/>',
    "undeclared_entity.xml": '<Clients id="1"><ClientOrPatient id="2"><FirstName>&nbsp;'
                             "</FirstName></ClientOrPatient></Clients>",
}

MASK64 = (1 << 64) - 1


def siphash13(k0, k1, data):
    """SipHash-1-3 of `data`, the keyed hash of the child lists' key index."""
    def rotl(x, b):
        return ((x << b) | (x >> (64 - b))) & MASK64

    v = [k0 ^ 0x736F6D6570736575, k1 ^ 0x646F72616E646F6D,
         k0 ^ 0x6C7967656E657261, k1 ^ 0x7465646279746573]

    def sipround():
        v[0] = (v[0] + v[1]) & MASK64
        v[1] = rotl(v[1], 13) ^ v[0]
        v[0] = rotl(v[0], 32)
        v[2] = (v[2] + v[3]) & MASK64
        v[3] = rotl(v[3], 16) ^ v[2]
        v[0] = (v[0] + v[3]) & MASK64
        v[3] = rotl(v[3], 21) ^ v[0]
        v[2] = (v[2] + v[1]) & MASK64
        v[1] = rotl(v[1], 17) ^ v[2]
        v[2] = rotl(v[2], 32)

    whole = len(data) // 8 * 8
    words = [struct.unpack("<Q", data[i:i + 8])[0] for i in range(0, whole, 8)]
    words.append((len(data) & 0xFF) << 56 | int.from_bytes(data[whole:], "little"))
    for m in words:
        v[3] ^= m
        sipround()
        v[0] ^= m
    v[2] ^= 0xFF
    for _ in range(3):
        sipround()
    return v[0] ^ v[1] ^ v[2] ^ v[3]


def colliding_points(count):
    """A curve whose point ids share one probe run of the key index under the
    seed the tests install (0x0123456789abcdef, 0xfedcba9876543210)."""
    ids, i = [], 0
    while len(ids) < count:
        i += 1
        if siphash13(0x0123456789ABCDEF, 0xFEDCBA9876543210, str(i).encode()) & 1023 < 4:
            ids.append(i)
    points = "".join('<CurveDatum id="%d"><Frequency>250</Frequency></CurveDatum>' % i
                     for i in ids)
    return ('<Clients id="1"><ClientOrPatient id="1"><ClientAid id="1"><TestSession id="1">'
            '<Examination id="1"><Curve id="1">%s</Curve></Examination></TestSession>'
            "</ClientAid></ClientOrPatient></Clients>" % points)


HAND_MADE["colliding_ids.xml"] = colliding_points(64)
HAND_MADE["terminal_controls.xml"] = (
    '<Clients id="1"><ClientOrPatient id="2"><FirstName>\x7f\x9b31m\x85</FirstName>'
    "<LastName>\u202eZ\u2066\u2069</LastName></ClientOrPatient></Clients>")


def declared(encoding, name):
    """A client list in `encoding`, declared as such, whose first name is `name`."""
    return ('<?xml version="1.0" encoding="%s"?>\r\n' % encoding
            + HAND_MADE["minimal.xml"].replace("Ann", name)).encode(encoding)


ENCODED = {
    "iso8859_2.xml": declared("ISO-8859-2", "\u0141\u00f3d\u017a"),
    "koi8_r.xml": declared("KOI8-R", "\u041c\u043e\u0441\u043a\u0432\u0430"),
    "shift_jis.xml": declared("Shift_JIS", "\u65e5\u672c\u8a9e"),
    "gb18030.xml": declared("GB18030", "\u5317\u4eac\u00df\U0001f600"),
    "ibm037.xml": declared("IBM037", "M\u00fcller"),
    "utf16be_declared.xml": declared("UTF-16BE", "\u00e9\U0001f600"),
    "utf16be_bom.xml": ("\ufeff" + HAND_MADE["minimal.xml"]).encode("utf-16-be"),
    "unknown_encoding.xml": b'<?xml version="1.0" encoding="x-no-such-code"?><Clients id="1"/>',
    "utf16le_bom.xml": ("\ufeff" + HAND_MADE["minimal.xml"]).encode("utf-16-le"),
    "utf8_bom.xml": b"\xef\xbb\xbf" + HAND_MADE["minimal.xml"].encode(),
    "windows1252.xml": b'<?xml version="1.0" encoding="windows-1252"?>\r\n'
                       b'<Clients id="1"><ClientOrPatient id="2"><FirstName>Ren\xe9 \x80'
                       b"</FirstName></ClientOrPatient></Clients>",
    "undeclared_8bit.xml": b'<Clients id="1"><ClientOrPatient id="2"><LastName>M\xfcller'
                           b"</LastName></ClientOrPatient></Clients>",
}

CONVERSION_TEXTS = [
    "0", " 12.5 ", ".5", "-.25", "1E+15", "1.5E-05", "1D3", "&H1F", "&O17", "&HFFFFFFFF",
    "1.2.3", "12abc", "1E+400", "-1E+400", "1.79769313486232E+308", "4.94065645841247E-324",
    "1,234.5", "1.234,5", "2147483647.5", "-2147483648.5", "True", "false", "yes", "",
    "2026-11-22", "2026-11-22 15:04:05", "11/22/2026 3:04:05 PM", "22.11.2026 15:04:05",
    "22/11/2026 15:04:05", "15:04:05", "3:04 PM", "0100-01-01", "9999-12-31 23:59:59",
    "  \t\n7", "1e", "+", "&H", "$1,000.00", "(5)", "1 000",
]


def write(folder, name, data):
    path = HERE / folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data if isinstance(data, bytes) else data.encode())


def write_dictionary():
    """libFuzzer's dictionary for the import: every element name of the golden
    files as a start tag, an end tag and an empty element, and XML tokens."""
    names = set()
    for golden in DATA.glob("*.xml"):
        names.update(re.findall(r"<([A-Za-z][A-Za-z0-9]*)", golden.read_text(encoding="utf-8")))
    tokens = ['null="true"', 'id="', "<![CDATA[", "]]>", "<!--", "-->", "<?xml", "?>",
              "&amp;", "&lt;", "&#13;", "&#x", "<!DOCTYPE", "<!ENTITY", 'encoding="windows-1252"',
              'encoding="UTF-16"', 'encoding="Shift_JIS"', 'version="1.0"', "\\xFE\\xFF"]
    lines = ['"<%s>"' % n for n in sorted(names)] + ['"</%s>"' % n for n in sorted(names)]
    lines += ['"<%s/>"' % n for n in sorted(names)]
    lines += ['"%s"' % t.replace('"', '\\"') for t in tokens]
    (HERE / "xml_import.dict").write_text("\n".join(lines) + "\n")


def main():
    write_dictionary()
    for golden in sorted(DATA.glob("*.xml")):
        write("xml_import", "golden_" + golden.name, wrap(written(golden)))
    for name, text in HAND_MADE.items():
        write("xml_import", name, text)
    for name, data in ENCODED.items():
        write("xml_import", name, data)
    for i, text in enumerate(CONVERSION_TEXTS):
        locale = i % 4
        raw = bytes([locale]) + text.encode()
        write("conversions", "text_%02d" % i, raw)
    # The last half second of 9999 as a raw day count, with its text.
    write("conversions", "last_half_second",
          bytes([0]) + struct.pack("<d", 2958465.9999999) + b"9999-12-31 23:59:59")
    rng = random.Random(20261122)
    for i in range(16):
        write("dispatch", "program_%02d" % i, bytes(rng.randrange(256) for _ in range(64 + 32 * i)))


if __name__ == "__main__":
    main()
