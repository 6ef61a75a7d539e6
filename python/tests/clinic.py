"""A clinic built in Python with the same generator, values and order as the
C++ tree builder of the tests and benchmarks, so that both export the same
file."""
import datetime

import tympora

MASK = (1 << 64) - 1

TRICKY_TEXTS = [
    "Ann-Kathrin",
    "O'Neil & Sons <Hearing> \"Ltd\"",
    "  leading and trailing  ",
    "",
    "Zoë Müller-Łukasiewicz",
    "Straße 12, 8000 Zürich",
    "a]]>b",
    "line one\nline two",
    "tab\there",
    "日本語のテキスト",
    "emoji \U0001F3A7 headphones",
    "CR\r\nLF",
    "x",
]

NAMED_TEXTS = {
    "FirstName": ["Ann", "Björn", "Chloé", "Dmitri", "Eve", "Farah", "Gus"],
    "LastName": ["Smith", "Øberg", "García", "Nakamura", "O'Brien", "Weiß"],
    "ManufacturerName": ["Acme Audio", "Sonic & Co", "Hörwelt GmbH"],
    "HearingAidModel": ["BTE 200", "RIC Mini", "ITE Pro <2>"],
    "AidEar": ["Left", "Right"],
    "TestName": ["Frequency response", "Input/output", "Distortion"],
    "Name": ["OSPL90", "Full-on gain", "Reference test gain"],
}

# Children per record, by the children's class: the demo's shape.
DEMO_SHAPE = {"CClient": 2, "CClientAid": 2, "CTestDefinition": 2, "CExamination": 2,
              "CCurve": 2, "CCurveDatum": 20, "CDistortionDatum": 5}
# The benchmark's shape: 3 curves of 40 points per examination.
BENCH_SHAPE = dict(DEMO_SHAPE, CCurve=3, CCurveDatum=40)


class Generator:
    """splitmix64, as the C++ builder uses it."""

    def __init__(self, seed):
        self.state = seed

    def below(self, n):
        self.state = (self.state + 0x9E3779B97F4A7C15) & MASK
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK
        return (z ^ (z >> 31)) % n


def value_for(element, kind, gen):
    if kind == "int":
        return gen.below(20001)
    if kind == "float":
        return (gen.below(200000001) - 100000000) / 1000.0
    if kind == "str":
        texts = NAMED_TEXTS.get(element, TRICKY_TEXTS)
        return texts[gen.below(len(texts))]
    if kind == "datetime":
        # The C++ builder's arguments are evaluated last to first.
        second, minute, hour = gen.below(60), gen.below(60), gen.below(24)
        day, month, year = 1 + gen.below(28), 1 + gen.below(12), 1900 + gen.below(200)
        return datetime.datetime(year, month, day, hour, minute, second)
    return gen.below(2) == 1


def fill(record, gen, null_share):
    for element, name, kind in tympora.properties(record):
        if null_share > 0 and gen.below(1000) < null_share * 1000:
            setattr(record, name, None)
        else:
            setattr(record, name, value_for(element, kind, gen))


def grow(record, shape, gen, null_share):
    # A list the shape does not name stays empty, as in the C++ builder.
    for _, child_class, add, _ in tympora.child_lists(record):
        for i in range(1, shape.get(child_class.__name__, 0) + 1):
            child = child_class()
            child.ID = i
            fill(child, gen, 0.0 if child_class is tympora.CClient else null_share)
            grow(child, shape, gen, null_share)
            getattr(record, add)(child)


def build_clinic(clients, shape=DEMO_SHAPE, seed=1):
    """A client list of `clients` clients, as the C++ builder makes it."""
    root = tympora.CClients()
    root.ID = 1
    grow(root, dict(shape, CClient=clients), Generator(seed), 0.1)
    return root
