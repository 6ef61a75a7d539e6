"""The records in Python: attributes, Null, errors, child lists, statuses."""
import datetime

import pytest

import tympora

DAY = datetime.datetime(1945, 9, 6, 11, 30, 19)

# (class, attribute, element, value written, value read back)
VALUES = [
    (tympora.CClient, "FirstName", "FirstName", "Zoë <&>", "Zoë <&>"),
    (tympora.CClient, "CellPhone", "PhoneCell", "555-0100", "555-0100"),
    (tympora.CClient, "BirthDate", "BirthDate", DAY, DAY),
    (tympora.CClient, "BirthDate", "BirthDate", datetime.date(1950, 7, 14),
     datetime.datetime(1950, 7, 14)),
    (tympora.CClient, "BirthDate", "BirthDate", DAY.replace(microsecond=600000),
     DAY.replace(second=20)),
    (tympora.CClient, "Deleted", "Deleted", True, True),
    (tympora.CClientAid, "AidModel", "HearingAidModel", "BTE 200", "BTE 200"),
    (tympora.CCurve, "FxSourceAmp", "FxSrcAmp", 3, 3.0),
    (tympora.CCurve, "CurveNo", "CurveNumber", -2**31, -2**31),
    (tympora.CCurveDatum, "InputVal", "Input", -0.25, -0.25),
    (tympora.CCurveDatum, "Frequency", "Frequency", 100000, 100000),
]


@pytest.mark.parametrize("cls, name, element, value, read", VALUES)
def test_value_null_and_by_name(cls, name, element, value, read):
    record = cls()
    assert getattr(record, name) is None and record.IsNull(element)
    setattr(record, name, value)
    assert getattr(record, name) == read
    assert record.PropertyByName(element) == read
    assert not record.IsNull(element)
    setattr(record, name, None)
    assert getattr(record, name) is None and record.IsNull(element)


# (class, attribute, value, error number): the value is refused and the
# property keeps what it held.
REFUSED = [
    (tympora.CClient, "ID", 2**32 + 5, 6),
    (tympora.CCurve, "CurveNo", 2**31, 6),
    (tympora.CCurve, "FxSourceAmp", 10**400, 6),
    (tympora.CClient, "FirstName", b"Ann", 13),
    (tympora.CClient, "FirstName", "\ud800", 13),
    (tympora.CCurve, "CurveNo", "5", 13),
    (tympora.CCurve, "CurveNo", 1.5, 13),
    (tympora.CClient, "Deleted", 1, 13),
    (tympora.CClient, "BirthDate", "1950-07-14", 13),
    (tympora.CClient, "BirthDate", datetime.date(99, 1, 1), 6),
    (tympora.CStatus, "Number", 2**40, 6),
]


@pytest.mark.parametrize("cls, name, value, number", REFUSED)
def test_refused_values(cls, name, value, number):
    record = cls()
    before = getattr(record, name)
    with pytest.raises(tympora.Error) as raised:
        setattr(record, name, value)
    assert raised.value.number == number and raised.value.source == "Tympora"
    assert getattr(record, name) == before


def test_frequency_setter_rule_ignores_out_of_range():
    point = tympora.CCurveDatum()
    point.Frequency = 100001
    assert point.Frequency is None


def test_property_by_name_converts_and_reports():
    curve = tympora.CCurve()
    curve.PropertyByName("CurveNumber", "7")
    assert curve.CurveNo == 7
    assert curve.PropertyByName("NoSuchElement") is None
    for value, number in [(None, 94), (2**40, 6), ("seven", 13), (object(), 13)]:
        with pytest.raises(tympora.Error) as raised:
            curve.PropertyByName("CurveNumber", value)
        assert raised.value.number == number
    assert curve.CurveNo == 7


# (parent class, list, add member, reset member, child class)
LISTS = [
    (tympora.CClients, "Clients", "AddClient", "ResetClients", tympora.CClient),
    (tympora.CClient, "Aids", "AddAid", "ResetAids", tympora.CClientAid),
    (tympora.CClientAid, "TestDefinitions", "AddTestDefinition", "ResetTestDefinitions",
     tympora.CTestDefinition),
    (tympora.CTestDefinition, "Examinations", "AddExamination", "ResetExaminations",
     tympora.CExamination),
    (tympora.CExamination, "Curves", "AddCurve", "ResetCurves", tympora.CCurve),
    (tympora.CCurve, "CurveData", "AddCurveDatum", "ResetCurveData", tympora.CCurveDatum),
    (tympora.CCurve, "DistortionData", "AddDistortionDatum", "ResetDistortionData",
     tympora.CDistortionDatum),
]


@pytest.mark.parametrize("parent_class, name, add, reset, child_class", LISTS)
def test_child_list_is_a_sequence_of_the_records_added(parent_class, name, add, reset,
                                                       child_class):
    parent = parent_class()
    view = getattr(parent, name)
    children = [child_class() for _ in range(3)]
    for i, child in enumerate(children):
        child.ID = 10 - i
        getattr(parent, add)(child)
    assert len(view) == 3 and list(view) == children
    assert all(a is b for a, b in zip(view, children))
    assert view[0] is children[0] and view[-1] is children[2] and view[1:] == children[1:]
    assert children[1] in view and child_class() not in view and "x" not in view
    with pytest.raises(IndexError):
        view[3]
    twin = child_class()
    twin.ID = 9
    for bad, number in [(twin, 457), (None, 91), (tympora.CSpeechMapDatum(), 13)]:
        with pytest.raises(tympora.Error) as raised:
            getattr(parent, add)(bad)
        assert raised.value.number == number
    assert len(view) == 3
    getattr(parent, reset)()
    assert len(view) == 0 and list(view) == [] and children[0].ID == 0


def test_points_as_tuples():
    curve = tympora.CCurve()
    for i, (frequency, output) in enumerate([(500, 1.5), (1000, None)]):
        point = tympora.CCurveDatum()
        point.ID, point.Frequency, point.InputVal, point.OutputVal = i, frequency, 50, output
        curve.AddCurveDatum(point)
    assert curve.points() == [(500, 50.0, 1.5, None, None, None),
                              (1000, 50.0, None, None, None, None)]


def test_status_members():
    status = tympora.CStatus()
    assert (status.Number, status.Description, status.Source) == (0, "", "")
    status.SetError(2002, "here")
    assert (status.Number, status.Description, status.Source) == (
        2002, "Supplied path invalid or missing.", "here")
    copy = tympora.CStatus()
    copy.OperatorEquals(status)
    with pytest.raises(tympora.Error) as raised:
        copy.RaiseError()
    assert (raised.value.number, raised.value.source) == (2002, "here")
    assert str(raised.value) == "2002: Supplied path invalid or missing. (here)"
    with pytest.raises(tympora.Error) as raised:
        copy.OperatorEquals(None)
    assert raised.value.number == 91
