"""Type stubs of the tympora module."""
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

# The record classes, written by make_stubs.py from the module's tables.

class CDistortionDatum(RecordBase):
    """A distortion point of a curve."""
    def __init__(self) -> None: ...
    Frequency: int | None  # Frequency
    Distortion: float | None  # Distortion
    Other: float | None  # Other

class CCurveDatum(RecordBase):
    """A point of a curve."""
    def __init__(self) -> None: ...
    InputVal: float | None  # Input
    OutputVal: float | None  # Output
    maxOutputVal: float | None  # MaxOutput
    minOutputVal: float | None  # MinOutput
    Frequency: int | None  # Frequency
    Other: float | None  # Other

class CCurve(RecordBase):
    """A measured curve with its curve points and distortion points."""
    def __init__(self) -> None: ...
    FxDataPoints: int | None  # FxDataPoints
    DateText: str | None  # DateText
    DistType: int | None  # DistType
    CurveExp: str | None  # Exp
    FxFlag0: int | None  # FxFlag0
    FxFlag1: int | None  # FxFlag1
    FxSourceAmp: float | None  # FxSrcAmp
    FxTime0: int | None  # FxTime0
    FxTime1: int | None  # FxTime1
    FxHighestVal: int | None  # FxHighestVal
    CurveNo: int | None  # CurveNumber
    MeasureType: int | None  # MeasureType
    Name: str | None  # Name
    FxNoiseRed: int | None  # FxNoiseRed
    FxRMS: int | None  # FxRMS
    Source: str | None  # Source
    SourceType: int | None  # SourceType
    SourceValue: int | None  # SourceValue
    State: int | None  # State
    TestNo: int | None  # TestNo
    CurveType: str | None  # Type
    @property
    def CurveData(self) -> RecordList[CCurveDatum]: ...
    def AddCurveDatum(self, child: CCurveDatum) -> None: ...
    def ResetCurveData(self) -> None: ...
    @property
    def DistortionData(self) -> RecordList[CDistortionDatum]: ...
    def AddDistortionDatum(self, child: CDistortionDatum) -> None: ...
    def ResetDistortionData(self) -> None: ...
    def points(self) -> list[tuple[int | None, float | None, float | None, float | None, float | None, float | None]]: ...

class CExamination(RecordBase):
    """An examination with its measured curves."""
    def __init__(self) -> None: ...
    AidClass: int | None  # AidClass
    AnalyzerAidType: int | None  # AnalyzerAidType
    Category: int | None  # Category
    Comment: str | None  # Comment
    CreateDate: datetime.datetime | None  # CreateDate
    CreateTime: str | None  # CreateTime
    Doctor: str | None  # Doctor
    Ear: int | None  # EarID
    LastSaveDate: datetime.datetime | None  # LastSaveDate
    LastSaveTime: str | None  # LastSaveTime
    NumberOfCurves: int | None  # NumberOfCurves
    Scaling: int | None  # Scaling
    TestExplanation: str | None  # TestExplanation
    TestName: str | None  # TestName
    TestNumber: int | None  # TestNumber
    TestType: str | None  # TestType
    ProgramVersion: int | None  # ProgramVersion
    @property
    def Curves(self) -> RecordList[CCurve]: ...
    def AddCurve(self, child: CCurve) -> None: ...
    def ResetCurves(self) -> None: ...

class CTestDefinition(RecordBase):
    """A test session with its examinations."""
    def __init__(self) -> None: ...
    Comment: str | None  # Comment
    Deleted: bool | None  # Deleted
    InsCode: int | None  # InsCode
    Percode: int | None  # PerCode
    TestDate: datetime.datetime | None  # TestDate
    TestExplanation: str | None  # TestExplanation
    TestTime: str | None  # TestTime
    TestType: str | None  # TestType
    TestTypeNumber: int | None  # TestTypeNumber
    @property
    def Examinations(self) -> RecordList[CExamination]: ...
    def AddExamination(self, child: CExamination) -> None: ...
    def ResetExaminations(self) -> None: ...

class CClientAid(RecordBase):
    """A client's hearing aid with the test sessions run on it."""
    def __init__(self) -> None: ...
    AidEar: str | None  # AidEar
    AidSerialNumber: str | None  # AidSerialNumber
    AidBatterySize: str | None  # HearingAidBatterySize
    AidBatteryType: str | None  # HearingAidBatteryType
    AidChannels: str | None  # HearingAidChannels
    AidClass: int | None  # HearingAidClass
    AidColor: int | None  # HearingAidColor
    AidComment: str | None  # HearingAidComment
    AidEarmoldMaterial: str | None  # HearingAidEarmoldMaterial
    AidEarmoldType: str | None  # HearingAidEarmoldType
    AidFMIsActivated: bool | None  # HearingAidFMIsActivated
    AidFMManufacturer: str | None  # HearingAidFMManufacturer
    AidFMModel: str | None  # HearingAidFMModel
    AidFMSerialNumber: str | None  # HearingAidFMSerialNumber
    AidFMType: str | None  # HearingAidFMType
    AidManufacturer: str | None  # HearingAidManufacturerCode
    AidModel: str | None  # HearingAidModel
    AidPicture: str | None  # HearingAidPicture
    AidPurchaseDate: datetime.datetime | None  # HearingAidPurchaseDate
    AidShape: str | None  # HearingAidShape
    AidTubing: str | None  # HearingAidTubing
    AidType: str | None  # HearingAidType
    AidVenting: str | None  # HearingAidVenting
    AidWarrantyDate: datetime.datetime | None  # HearingAidWarrantyDate
    ManufacturerAddress: str | None  # ManufacturerAddress
    ManufacturerCity: str | None  # ManufacturerCity
    ManufacturerComment: str | None  # ManufacturerComment
    ManufacturerCountry: str | None  # ManufacturerCountry
    ManufacturerDeleted: bool | None  # ManufacturerDeleted
    ManufacturerEmail: str | None  # ManufacturerEmail
    ManufacturerName: str | None  # ManufacturerName
    ManufacturerPhone: str | None  # ManufacturerPhone
    ManufacturerState: str | None  # ManufacturerState
    ManufacturerType: str | None  # ManufacturerType
    ManufacturerZipCode: str | None  # ManufacturerZipCode
    @property
    def TestDefinitions(self) -> RecordList[CTestDefinition]: ...
    def AddTestDefinition(self, child: CTestDefinition) -> None: ...
    def ResetTestDefinitions(self) -> None: ...

class CClient(RecordBase):
    """A client (patient) with the client's hearing aids."""
    def __init__(self) -> None: ...
    StreetAddress: str | None  # StreetAddress
    BirthDate: datetime.datetime | None  # BirthDate
    CellPhone: str | None  # PhoneCell
    City: str | None  # City
    Comment: str | None  # Comment
    Country: str | None  # Country
    Deleted: bool | None  # Deleted
    Email: str | None  # Email
    FatherName: str | None  # FatherName
    FirstName: str | None  # FirstName
    Gender: str | None  # Gender
    HearingLoss: str | None  # HearingLoss
    Illness: str | None  # Illness
    InsuranceAgency: str | None  # InsuranceAgency
    InsuranceGroupNumber: str | None  # InsuranceGroupNumber
    InsurancePhone: str | None  # InsurancePhone
    InsurancePolicyNumber: str | None  # InsurancePolicyNumber
    LastEntryDate: datetime.datetime | None  # LastEntryDate
    LastName: str | None  # LastName
    MiddleName: str | None  # MiddleName
    MotherName: str | None  # MotherName
    Number: str | None  # Number
    OfficePhone: str | None  # OfficePhone
    OtherPostalCode: str | None  # OtherPostalCode
    Phone1: str | None  # Phone1
    Phone2: str | None  # Phone2
    Physician: str | None  # Physician
    Picture: str | None  # Picture
    ReferenceNumber: str | None  # ReferenceNumber
    RegistrationDate: datetime.datetime | None  # RegistrationDate
    SocialSecurity: str | None  # SocialSecurity
    State: str | None  # State
    ZipCode: str | None  # ZipCode
    @property
    def Aids(self) -> RecordList[CClientAid]: ...
    def AddAid(self, child: CClientAid) -> None: ...
    def ResetAids(self) -> None: ...

class CClients(RecordBase):
    """The client list: the root of a clinic's file."""
    def __init__(self) -> None: ...
    @property
    def Clients(self) -> RecordList[CClient]: ...
    def AddClient(self, child: CClient) -> None: ...
    def ResetClients(self) -> None: ...

class CSpeechMapDatum(RecordBase):
    """A speech-map point; no record holds it."""
    def __init__(self) -> None: ...
    maxOutputVal: float | None  # MaxOutput
    minOutputVal: float | None  # MinOutput
    Other: float | None  # Other
