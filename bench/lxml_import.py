#!/usr/bin/python3
"""Import anchor of the clinic benchmark: parse a clinic file with lxml and
convert every id and property text by the kind of its element, without
building records.

Usage: lxml_import.py FILE SCHEMA [cpu|wall]
SCHEMA holds lines "<record element> <element> <int|double|string|date|bool|child>".
Prints "<seconds> <peak memory growth in bytes> <records>" for the parse and walk,
in CPU time of the process (the default) or wall-clock time; exits with 3 when
lxml is not installed.
"""
import resource
import sys
import time
from datetime import date

try:
    from lxml import etree
except ImportError:
    print("lxml is not installed", file=sys.stderr)
    sys.exit(3)

EPOCH = 693594  # date(1899, 12, 30).toordinal()


def iso_date(text):
    """A C-locale date text (yyyy-mm-dd, HH:MM:SS or both) as a day count."""
    days, rest = 0, text
    if "-" in text:
        day, _, rest = text.partition(" ")
        y, m, d = day.split("-")
        days = date(int(y), int(m), int(d)).toordinal() - EPOCH
    if ":" in rest:
        h, mi, s = rest.split(":")
        days += (int(h) * 3600 + int(mi) * 60 + int(s)) / 86400.0
    return days


def read_schema(path):
    schema = {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            record, element, kind = line.split()
            schema.setdefault(record, {})[element] = kind
    return schema


def walk(element, schema, tally):
    tally[0] += 1
    tally[1] += int(element.get("id", "0"))
    kinds = schema[element.tag]
    for child in element:
        kind = kinds.get(child.tag)
        if kind is None or child.get("null") == "true":
            continue
        if kind == "child":
            walk(child, schema, tally)
            continue
        text = child.text or ""
        if kind == "int":
            tally[1] += int(text)
        elif kind == "double":
            tally[1] += float(text)
        elif kind == "date":
            tally[1] += iso_date(text)
        elif kind == "bool":
            tally[1] += "true" in text.lower()
        else:
            tally[2] += len(text)


def main():
    path, schema_path = sys.argv[1], sys.argv[2]
    clock = time.perf_counter if sys.argv[3:] == ["wall"] else time.process_time
    schema = read_schema(schema_path)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    start = clock()
    parser = etree.XMLParser(remove_blank_text=True, resolve_entities=False, huge_tree=True)
    root = etree.parse(path, parser).getroot()
    tally = [0, 0, 0]
    walk(root, schema, tally)
    del root
    seconds = clock() - start
    after = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"{seconds:.6f} {(after - before) * 1024} {tally[0]}")


if __name__ == "__main__":
    main()
