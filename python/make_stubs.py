"""Writes tympora.pyi, the type stubs of the tympora module: the fixed part
below and, for every record class, its attributes and child lists as the
module reports them. Usage: PYTHONPATH=<folder of the built module>
python3 python/make_stubs.py"""
import pathlib

import tympora

FIXED = '''"""Type stubs of the tympora module (written by make_stubs.py)."""
import datetime
import os
from typing import Generic, Iterator, TypeVar, overload

_Path = str | bytes | os.PathLike[str] | os.PathLike[bytes]
_Value = int | float | str | bool | datetime.date | None
_R = TypeVar("_R", bound="RecordBase")

__version__: str

class Error(Exception):
    number: int
    description: str
    source: str
    help_file: str
    help_context: int
    def __init__(self, number: int = ..., description: str = ..., source: str = ...,
                 help_file: str = ..., help_context: int = ...) -> None: ...

class CStatus:
    Number: int
    Description: str
    HelpFile: str
    HelpContext: int
    Source: str
    def __init__(self) -> None: ...
    def RaiseError(self) -> None: ...
    def OperatorEquals(self, Other: CStatus) -> None: ...
    def SetError(self, eErrCode: int, sSource: str | None = ...) -> None: ...

class DOMParseError:
    errorCode: int
    reason: str
    line: int
    linepos: int
    filepos: int

class DOMNode:
    nodeType: int
    nodeName: str
    baseName: str
    text: str
    xml: str
    childNodes: list[DOMNode]
    parentNode: DOMNode
    def __init__(self) -> None: ...
    def __bool__(self) -> bool: ...
    def appendChild(self, child: DOMNode) -> DOMNode: ...
    def setAttribute(self, name: str, value: str) -> None: ...
    def getAttribute(self, name: str) -> str | None: ...

class DOMDocument:
    preserveWhiteSpace: bool
    parseError: DOMParseError
    documentElement: DOMNode
    childNodes: list[DOMNode]
    xml: str
    def __init__(self) -> None: ...
    @staticmethod
    def New() -> DOMDocument: ...
    def __bool__(self) -> bool: ...
    def load(self, path: _Path) -> bool: ...
    def loadXML(self, text: str) -> bool: ...
    def createElement(self, name: str) -> DOMNode: ...
    def createTextNode(self, text: str) -> DOMNode: ...
    def appendChild(self, child: DOMNode) -> DOMNode: ...

class RecordList(Generic[_R]):
    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int) -> _R: ...
    @overload
    def __getitem__(self, index: slice) -> list[_R]: ...
    def __iter__(self) -> Iterator[_R]: ...
    def __contains__(self, item: object) -> bool: ...

class CNode:
    NodeName: str
    ID: int
    @overload
    def PropertyByName(self, sPropertyName: str) -> _Value: ...
    @overload
    def PropertyByName(self, sPropertyName: str, vValue: _Value) -> None: ...
    def CreateXMLElement(self, Document: DOMDocument, ThisNode: DOMNode) -> None: ...
    def ExportXMLPath(self, sFilePath: _Path) -> CStatus | None: ...
    def ExportXMLFileHandle(self, iFileHandle: int) -> CStatus | None: ...
    def ExportXMLDocument(self, Document: DOMDocument) -> CStatus | None: ...
    def ExportXMLNode(self, Document: DOMDocument, ParentNode: DOMNode) -> CStatus | None: ...
    def ImportXMLNode(self, ThisNode: DOMNode) -> CStatus | None: ...
    def ExportTXT(self, iFileHandle: int) -> CStatus | None: ...
    def ExportPDF(self, oParam1: _Value) -> CStatus | None: ...
    def ExportPostScript(self, iFileHandle: int) -> CStatus | None: ...
    def Reset(self) -> None: ...

class RecordBase(CNode):
    def IsNull(self, sPropertyName: str) -> bool: ...
    def save(self, path: _Path) -> None: ...

def load(path: _Path) -> CClients: ...
def properties(record: RecordBase) -> list[tuple[str, str, str]]: ...
def child_lists(record: RecordBase) -> list[tuple[str, type, str, str]]: ...
def FreeFile() -> int: ...
def OpenFile(number: int, path: _Path) -> None: ...
def FileClose(number: int) -> None: ...
def SetLocale(name: str) -> None: ...
'''

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
    return FIXED + "\n".join(lines) + "\n"


if __name__ == "__main__":
    pathlib.Path(__file__).with_name("tympora.pyi").write_text(stubs())
