"""Writes tympora.pyi, the type stubs of the tympora module: the hand-written
part (tympora.pyi.in, next to this script) followed by the record classes,
made from the attributes and child lists that the module reports. The build
runs it after the module is linked. Usage:
PYTHONPATH=<folder of the built module> python3 python/make_stubs.py OUT"""
import pathlib
import sys

import tympora

HEAD = pathlib.Path(__file__).with_name("tympora.pyi.in")
POINTS = ("    def points(self) -> list[tuple[int | None, float | None, float | None, "
          "float | None, float | None, float | None]]: ...")


def record_stub(cls):
    record = cls()
    lines = ["", f"class {cls.__name__}(RecordBase):", f'    """{cls.__doc__}"""',
             "    def __init__(self) -> None: ..."]
    for element, name, kind in tympora.properties(record):
        kind = "datetime.datetime" if kind == "datetime" else kind
        lines.append(f"    {name}: {kind} | None  # {element}")
    for name, child, add, reset in tympora.child_lists(record):
        lines += ["    @property",
                  f"    def {name}(self) -> RecordList[{child.__name__}]: ...",
                  f"    def {add}(self, child: {child.__name__}) -> None: ...",
                  f"    def {reset}(self) -> None: ..."]
    if cls is tympora.CCurve:
        lines.append(POINTS)
    return lines


def stubs():
    """The text of tympora.pyi for the module imported."""
    classes = [v for v in vars(tympora).values()
               if isinstance(v, type) and issubclass(v, tympora.RecordBase)
               and v is not tympora.RecordBase]
    lines = [line for cls in classes for line in record_stub(cls)]
    return HEAD.read_text() + "\n".join(lines) + "\n"


if __name__ == "__main__":
    pathlib.Path(sys.argv[1]).write_text(stubs())
