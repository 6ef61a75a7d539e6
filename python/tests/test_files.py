"""Export, import and the file conveniences; the same file as the C++ hosts."""
import ast
import os
import pathlib
import re
import subprocess
import sys
import threading
import time

import pytest

import clinic
import tympora

ROOT = pathlib.Path(__file__).resolve().parents[2]


def undated(data):
    """The file's bytes with the date in its comment taken out."""
    return re.sub(rb"<!--document created [^>]*-->", b"<!---->", data, count=1)


def test_export_and_import_members_return_statuses(tmp_path):
    clients = clinic.build_clinic(1)
    assert clients.ExportXMLPath(str(tmp_path / "a.xml")).Number == 0
    status = clients.ExportXMLPath("")
    assert (status.Number, status.Description) == (2002, "Supplied path invalid or missing.")
    document = tympora.DOMDocument()
    assert clients.ExportXMLDocument(document).Number == 0 and document
    copy = tympora.CClients()
    assert copy.ImportXMLNode(document.documentElement).Number == 0
    assert copy.Clients[0].FirstName == clients.Clients[0].FirstName
    assert copy.ImportXMLNode(tympora.DOMNode()).Number == 2005
    number = tympora.FreeFile()
    tympora.OpenFile(number, tmp_path / "b.xml")
    assert clients.ExportXMLFileHandle(number).Number == 0
    tympora.FileClose(number)
    assert undated((tmp_path / "b.xml").read_bytes()) == undated((tmp_path / "a.xml").read_bytes())


# (file text or None for no file, error number, text the description holds)
LOAD_FAILURES = [
    (None, 53, "missing.xml"),
    ("<Clients id='1'>\n<ClientOrPatient>\n</Clients>", 1003, "line 3, column 3"),
    ("<Clients id='1'><ClientOrPatient id='2'/><ClientOrPatient id='2'/></Clients>", 457,
     "already associated"),
    ("<Clients id='99999999999'/>", 6, "Overflow"),
]


@pytest.mark.parametrize("text, number, detail", LOAD_FAILURES)
def test_load_raises_what_fails(tmp_path, text, number, detail):
    path = tmp_path / "missing.xml"
    if text is not None:
        path.write_text(text)
    with pytest.raises(tympora.Error) as raised:
        tympora.load(path)
    assert raised.value.number == number and detail in raised.value.description


def test_save_raises_on_a_failed_status(tmp_path):
    with pytest.raises(tympora.Error) as raised:
        tympora.CClients().save(tmp_path / "no" / "such" / "folder.xml")
    assert raised.value.number == 76
    with pytest.raises(tympora.Error) as raised:
        tympora.CClients().save("")
    assert raised.value.number == 2002
    with pytest.raises(tympora.Error) as raised:  # a file name that is not UTF-8
        tympora.load(bytes(tmp_path) + b"/\xff.xml")
    assert raised.value.number == 53 and raised.value.description.endswith("/\ufffd.xml")


def test_import_and_export_release_the_gil(tmp_path):
    # Calls long enough (tens of milliseconds) that the interpreter's switch
    # interval (5 ms) does not count.
    curve, path = tympora.CCurve(), str(tmp_path / "curve.xml")
    for i in range(200000):
        point = tympora.CCurveDatum()
        point.ID = i
        curve.AddCurveDatum(point)
    document, durations, done = tympora.DOMDocument.New(), [], threading.Event()

    def timed(call, *args):
        start = time.perf_counter()
        call(*args)
        durations.append(time.perf_counter() - start)

    def work():
        for _ in range(2):
            timed(curve.ExportXMLPath, path)
            timed(document.load, path)
            timed(tympora.CCurve().ImportXMLNode, document.documentElement)
        done.set()

    # While a call holds the GIL, this thread stands still for all of it, so
    # that the longest pause here would be at least the longest call.
    worker, gap, last = threading.Thread(target=work), 0.0, time.perf_counter()
    worker.start()
    while not done.is_set():
        now = time.perf_counter()
        gap, last = max(gap, now - last), now
    worker.join()
    assert len(curve.CurveData) == 200000 and gap < max(durations) / 2


def test_python_clinic_is_the_cpp_clinic_byte_for_byte(tmp_path):
    tool = os.environ.get("TYMPORA_TOOL")
    if not tool:
        pytest.skip("the command-line host is not built")
    cpp, py, again = tmp_path / "cpp.xml", tmp_path / "py.xml", tmp_path / "again.xml"
    subprocess.run([tool, "demo", "--scrambled", "--clients", "3", "--out", str(cpp)], check=True,
                   stdout=subprocess.DEVNULL, env=dict(os.environ, LC_ALL="C"))
    clinic.build_clinic(3).save(py)
    tympora.load(py).save(again)
    expected = undated(cpp.read_bytes())
    assert undated(py.read_bytes()) == expected
    assert undated(again.read_bytes()) == expected


def run_host(tmp_path, python_path):
    env = dict(os.environ, PYTHONPATH=str(python_path))
    return subprocess.run([sys.executable, str(ROOT / "examples" / "host.py")], cwd=tmp_path,
                          env=env, capture_output=True, text=True, check=True).stdout


def test_host_example_prints_what_the_readme_says(tmp_path):
    expected = "1 client(s) read back from clients.xml\nstatus 0\n"
    assert run_host(tmp_path, pathlib.Path(tympora.__file__).parent) == expected
    build = os.environ.get("TYMPORA_BUILD_DIR")
    if not build:
        pytest.skip("no build folder to install from")
    prefix = tmp_path / "prefix"
    subprocess.run(["cmake", "--install", build, "--prefix", str(prefix)], check=True,
                   stdout=subprocess.DEVNULL)
    site = prefix / "lib" / f"python{sys.version_info[0]}.{sys.version_info[1]}" / "site-packages"
    assert (site / "tympora.pyi").exists()
    assert run_host(tmp_path, site) == expected


def test_stubs_name_everything_the_module_offers():
    """The stubs that the build wrote beside the module: the hand-written part
    must keep up with the module's functions and classes, and with their
    members."""
    tree = ast.parse(pathlib.Path(tympora.__file__).with_name("tympora.pyi").read_text())
    stubbed = {node.name: node for node in tree.body
               if isinstance(node, (ast.ClassDef, ast.FunctionDef))}
    stubbed.update({node.target.id: node for node in tree.body
                    if isinstance(node, ast.AnnAssign)})
    for name, value in vars(tympora).items():
        if name.startswith("_") or name in ("RecordListIterator",):
            continue
        assert name in stubbed, f"tympora.{name} is missing from tympora.pyi.in"
        if isinstance(value, type) and isinstance(stubbed[name], ast.ClassDef):
            members = {n.name if isinstance(n, ast.FunctionDef) else n.target.id
                       for n in stubbed[name].body
                       if isinstance(n, (ast.FunctionDef, ast.AnnAssign))}
            own = {m for m in vars(value) if not m.startswith("_")}
            assert own <= members, f"{name}: {sorted(own - members)} missing from the stubs"
