"""Compares the Python package with the manifest, the model of every picture, and with the tool: pictures, sentences and
files must be the same."""

import copy
import hashlib
import importlib.metadata
import json
import os
import pickle
import re
import signal
import subprocess
import sys
import threading
import time
import warnings
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import kpximage

# The results must not depend on the caller's umask and choice of plug-in.
os.umask(0o22)
for variable in [name for name in os.environ if name.startswith("KPX_") and name != "KPX_BUILD"]:
    del os.environ[variable]

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KPX_BUILD"])
SAMPLES = SOURCE.parent / "shared" / "samples"
MANIFEST = {line.split("\t")[0]: line.rstrip("\n").split("\t")[1:]
            for line in (SOURCE / "tests/manifest.tsv").read_text().splitlines() if not line.startswith("#")}


@pytest.fixture(scope="session")
def examples(tmp_path_factory):
    folder = tmp_path_factory.mktemp("work") / "examples" / "out"
    subprocess.run([BUILD / "kpxexamples", folder], check=True, stdout=subprocess.DEVNULL)
    return folder


@pytest.fixture(autouse=True)
def quiet():
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", kpximage.ImageWarning)
        yield


def tool(*arguments):
    return subprocess.run([BUILD / "kpximage", *map(str, arguments)], capture_output=True, text=True,
                          errors="surrogateescape")


def python(code, *arguments, **options):
    return subprocess.run([sys.executable, "-c", code, *map(str, arguments)], capture_output=True, text=True, **options)


def warned(work, *arguments, **options):
    """Returns the texts of the warnings."""
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        work(*arguments, **options)
    assert all(one.category is kpximage.ImageWarning and one.filename == __file__ for one in caught)
    return [str(one.message) for one in caught]


@pytest.mark.parametrize("name", MANIFEST)
def test_pictures_match_the_manifest(name, examples):
    file = examples / f"{name[9:]}.dds" if name.startswith("examples/") else SAMPLES / name[8:]
    if not file.exists():
        assert name.startswith("samples/")
        pytest.skip(f"there is no {file}")
    result, width, height, colours, mattes, bits, _, digest = MANIFEST[name][:8]
    # A small file that declares 80 MB.
    if result == "refused" or "0" in (width, height) or name == "samples/hostile-041d.dds":
        with pytest.raises(kpximage.Error):
            kpximage.read(file)
        return
    picture = kpximage.read(file)
    assert picture.shape == (int(height), int(width), int(colours) + int(mattes))
    assert picture.dtype == {"8": np.uint8, "32": np.float32}[bits]
    assert (picture.is_black, len(picture.channels)) == (result == "black", picture.shape[2])
    assert ("A" in picture.channels) == (mattes == "1" or picture.is_black)
    rows = np.ascontiguousarray(picture[::-1].transpose(0, 2, 1))  # from the bottom, channel by channel
    if digest != "-":
        assert hashlib.sha256(rows).hexdigest() == digest


@pytest.mark.parametrize("file, names", [
    ("dxt5", "RGBA"), ("alpha-8", "A"), ("luminance-8", "Y"), ("luminance-16", "Y"), ("luminance-8-alpha-8", "YA"),
    ("dx10-61-r8", "R"), ("code-114-r32f", "R"), ("code-34-g16r16", "RG"), ("dx10-67-rgb9e5", "RGB"),
    ("bad/ati1-code", "RGBA")])
def test_names_channels(file, names, examples):
    assert kpximage.read(examples / f"{file}.dds").channels == tuple(names)


def test_reads_red_with_alpha(examples, tmp_path):
    file = bytearray((examples / "dx10-49-rg8.dds").read_bytes())
    file[80] |= 1  # DDPF_ALPHAPIXELS
    (tmp_path / "a.dds").write_bytes(file)
    picture = kpximage.read(tmp_path / "a.dds")
    assert picture.channels == ("R", "A")
    kpximage.write(tmp_path / "b.dds", picture)
    assert np.array_equal(kpximage.read(tmp_path / "b.dds"), picture[..., [0, 0, 0, 1]])


def test_derived_arrays_keep_attributes(examples):
    picture = kpximage.read(examples / "bad/ati1-code.dds")
    for same in (picture.copy(), picture[8:, ::2], picture.astype(float), picture + 1, copy.deepcopy(picture),
                 pickle.loads(pickle.dumps(picture)), picture[..., [2, 1, 0, 3]], picture.copy("F")):
        assert (same.channels, same.is_black) == (tuple("RGBA"), True)
    assert {type(one) for one in (picture.max(), picture.mean(), picture[0, 0, 0])} <= {np.uint8, np.float64}
    for other in (picture[..., :3], picture[0], picture[..., 3], picture[picture > 3], picture[:4].mean(axis=2),
                  np.moveaxis(picture, 2, 0)[:, :, np.r_[0:40]], np.zeros(4).view(kpximage.Image)):
        assert other.channels is None


def test_interpreter_ends_while_threads_read(examples):
    for _ in range(5):
        run = python("import kpximage, sys, threading, time\n"
                     "def work():\n  while True: kpximage.read(sys.argv[1]); kpximage.explain(sys.argv[1])\n"
                     "for _ in range(4): threading.Thread(target=work, daemon=True).start()\ntime.sleep(0.04)",
                     examples / "dx10-98-bc7.dds")
        assert (run.returncode, run.stderr) == (0, "")


def test_lack_of_memory_is_an_error(tmp_path):
    kpximage.write(tmp_path / "a.dds", np.zeros((4096, 4096, 4), np.uint8))
    run = python("import kpximage, resource, sys\nkpximage.plugin_path()\n"
                 "free = int(open('/proc/self/statm').read().split()[0]) * 4096 + (30 << 20)\n"
                 "resource.setrlimit(resource.RLIMIT_AS, (free, free))\n"
                 "try: kpximage.read(sys.argv[1])\nexcept MemoryError: print('none')", tmp_path / "a.dds")
    assert run.stdout == "none\n", run.stderr


def test_sentences_match_the_tool(examples, tmp_path):
    os.mkfifo(tmp_path / "pipe")
    for name, start in (("empty", b""), ("text", b"text" * 99), ("png", b"\x89PNG\r\n\x1a\n"), ("n\udcff", b"DDS ")):
        (tmp_path / name).write_bytes(start)
    refused = [*tmp_path.iterdir(), tmp_path / "missing", Path("/dev/null"), *examples.glob("bad/*cut*.dds")]
    refused = [file for file in refused if tool("info", "--open", file).returncode == 1]
    assert len(refused) >= 7
    for file in refused:
        with pytest.raises(kpximage.Error) as caught:
            kpximage.read(file)
        assert caught.value.path == file and repr(caught.value.sentence) in repr(caught.value)
        assert f"kpximage: {caught.value}\n" == tool("info", "--open", file).stderr
    for file in examples.glob("bad/*.dds"):
        if MANIFEST[f"examples/bad/{file.stem}"][0] == "black":
            assert f"kpximage: {warned(kpximage.read, file)[0]}" == tool("convert", file, "-o", tmp_path / "a.png").stderr.splitlines()[-1]
    with pytest.raises(ValueError):
        kpximage.read("a\0b")


def test_errors_have_the_kinds_of_the_system_and_pickle(tmp_path):
    work = {"missing": FileNotFoundError, "no/a.dds": FileNotFoundError, ".": None, "text": None}
    (tmp_path / "text").write_text("text")
    for name, kind in work.items():
        with pytest.raises(kpximage.Error) as caught:
            kpximage.read(tmp_path / name)
        assert isinstance(caught.value, kind or OSError) and (caught.value.errno is None) == (kind is None)
        same = pickle.loads(pickle.dumps(caught.value))
        for error in (caught.value, same):
            assert (type(error), str(error), error.errno, error.path, error.filename) == (
                type(caught.value), str(caught.value), caught.value.errno, tmp_path / name, str(tmp_path / name))
    for wrong in ((3,), ("a", 3), ("a", "b", "no")):
        pytest.raises(TypeError, kpximage.repair, *wrong)


def test_forked_processes_read_while_threads_read(examples):
    run = python("import kpximage, os, signal, sys, threading\n"
                 "def work():\n  while True: kpximage.read(sys.argv[1])\n"
                 "for _ in range(4): threading.Thread(target=work, daemon=True).start()\n"
                 "for _ in range(100):\n  child = os.fork()\n"
                 "  if child == 0: signal.alarm(60); kpximage.read(sys.argv[1]); os._exit(0)\n"
                 "  assert os.waitpid(child, 0)[1] == 0\nprint('done')", examples / "dxt5.dds")
    assert run.stdout == "done\n", run.stderr


def test_recipe_for_floats_matches_the_tool(examples, tmp_path):
    file = examples / "dx10-67-rgb9e5.dds"
    recipe = re.findall(r"^ {8}(.*)$", kpximage.write.__doc__, re.M)
    assert len(recipe) == 3
    exec("\n".join(recipe).replace('"out.dds"', "out"), {"np": np, "kpximage": kpximage, "picture": kpximage.read(file),
                                                         "out": tmp_path / "own.dds"})
    assert tool("convert", "--exposure", "0", file, "-o", tmp_path / "tool.dds").returncode == 0
    own, other = (kpximage.read(tmp_path / name).astype(int) for name in ("own.dds", "tool.dds"))
    assert own.max() > 200 and abs(own - other).max() <= 1


def test_metadata_is_found():
    assert importlib.metadata.version("kpximage") == kpximage.__version__
    assert importlib.metadata.requires("kpximage") == ["numpy"]


def test_explain_matches_the_tool(examples):
    files = [*map(str, examples.glob("**/*.dds"))]
    lines = tool("explain", "--json", *files).stdout.splitlines()
    assert [kpximage.explain(file) for file in files] == [json.loads(line) for line in lines]
    with pytest.raises(kpximage.Error, match="missing: cannot open the file: No such file"):
        kpximage.explain("missing")


@pytest.mark.parametrize("options", [{}, {"convert": True}])
def test_repair_matches_the_tool(examples, tmp_path, options):
    for folder in ("own", "tool"):
        (tmp_path / folder).mkdir()
    files = [*examples.glob("bad/*.dds"), examples / "dxt5.dds"]
    lines = tool("recode" if options else "repair", "--json", *files, "-o", tmp_path / "tool").stdout.splitlines()
    said = {line["file"]: line for line in map(json.loads, lines)}
    for file in files:
        copies = [tmp_path / folder / file.name for folder in ("own", "tool")]
        done = kpximage.repair(file, copies[0], **options)
        assert done.get("output") == (str(copies[0]) if copies[0].exists() else None)
        assert {**done, "output": 0} == {**said[str(file)], "output": 0}
        assert copies[0].exists() == copies[1].exists() == (done["result"] in ("repaired", "recoded"))
        if copies[0].exists():
            assert copies[0].read_bytes() == copies[1].read_bytes()
            assert kpximage.repair(file, **options)["changes"] == done["changes"]
    with pytest.raises(kpximage.Error, match="/dev/full: exists and is not a regular file"):
        kpximage.repair(examples / "bad/ati1-code.dds", "/dev/full")


def test_written_files_match_the_tool(examples, tmp_path):
    files = [file for file in examples.glob("*.dds") if MANIFEST[f"examples/{file.stem}"][5] == "8"]
    assert len(files) > 50
    tool("convert", "--format", "dds", "--pad", "--keep-black", *files, "-o", tmp_path)
    said = []
    for file in files:
        said += warned(kpximage.write, tmp_path / "own.dds", kpximage.read(file))
        assert (tmp_path / "own.dds").read_bytes() == (tmp_path / file.name).read_bytes(), file
    assert said and all(" is stored as " in text for text in said)


def test_writes_arrays_of_any_strides_and_channels(tmp_path):
    texels = np.random.default_rng(1).integers(0, 256, (6, 8, 4), dtype=np.uint8)
    r, g, b, a = np.moveaxis(texels, 2, 0)
    o = np.zeros_like(r)
    for array, names, alpha, channels in (
            (texels, None, None, (r, g, b, a)), (texels, "BGRA", None, (b, g, r, a)), (texels, None, np.False_, (r, g, b)),
            (texels[..., 2::-1], None, None, (b, g, r)), (texels[..., 1], None, None, (g, g, g)),
            (texels[..., :2], "RG", True, (r, g, o)), (texels[..., :2], ["A", "Y"], None, (g, g, g, r)),
            (texels[..., 3:], "A", "output alpha", (o, o, o, a)), (texels.copy("F"), None, None, (r, g, b, a)),
            (texels.view(kpximage.Image)[..., :3], "GRB", None, (g, r, b)), (texels.tolist(), None, None, None)):
        if channels is None:  # numbers of no width
            pytest.raises(TypeError, kpximage.write, tmp_path / "a.dds", array)
            continue
        kpximage.write(tmp_path / "a.dds", array, names, alpha)
        assert np.array_equal(kpximage.read(tmp_path / "a.dds"), np.stack(channels, axis=2)), names


def test_refused_arrays_leave_no_file(tmp_path):
    good = np.zeros((4, 7, 3), np.uint8)
    for array, options, error, text in (
            (good.astype(np.float32), {}, TypeError, "array must have values of uint8, not float32"),
            (good.astype(np.int16), {}, TypeError, "int16"), (np.ma.array(good), {}, TypeError, "array is masked"),
            (good[..., :2], {}, ValueError, '"YA" or "RG"'), (good[0, 0], {}, ValueError, "shape"),
            (np.zeros((2, 2, 5), np.uint8), {}, ValueError, "shape"),
            (good[:0], {}, ValueError, "array has no pixels: it is 7 x 0"), (good, {"channels": "RG"}, ValueError, "RG"),
            (good, {"channels": "RGG"}, ValueError, "RGG"), (good, {"channels": ["R", "G", "\ud800"]}, ValueError, "R, G"),
            (good, {"channels": b"RGB"}, TypeError, "channels must"), (good, {"channels": 3}, TypeError, "channels must"),
            (good, {"channels": {*"RGB"}}, TypeError, "channels must"), (good, {"alpha": ""}, ValueError, "is not a value"),
            (good, {"alpha": "none"}, ValueError, "is not a value of Alpha"), (good, {"alpha": 1}, TypeError, "alpha must"),
            (np.broadcast_to(good[:1, :1], (70000, 70000, 3)), {}, kpximage.Error, "File too large")):
        with pytest.raises(error, match=re.escape(text)):
            kpximage.write(tmp_path / "a.dds", array, **options)
    part = kpximage.Image((4, 4, 4), np.uint8)
    part._names = tuple("RGBA")
    pytest.raises(ValueError, kpximage.write, tmp_path / "a.dds", part[..., 1:])
    (tmp_path / "folder.dds").mkdir()
    for place, error, text in (("a.exr", ValueError, "path must end in .dds"), (3, TypeError, "path must be"),
                               (tmp_path / "folder.dds", kpximage.Error, "not a regular file"),
                               (tmp_path / "no/a.dds", FileNotFoundError, "cannot be created: the folder .* does not exist")):
        with pytest.raises(error, match=text):
            kpximage.write(place, good)
    (tmp_path / "folder.dds").rmdir()
    for array in (good[0, 0], good):  # what the extension itself checks
        pytest.raises(ValueError, kpximage._kpximage.write, os.fsencode(tmp_path / "a.dds"), array, "RGBA", "", print)
    with warnings.catch_warnings(), pytest.raises(kpximage.ImageWarning, match="the width 7 is stored as 8"):
        warnings.simplefilter("error")
        kpximage.write(tmp_path / "a.dds", good)
    assert not [*tmp_path.iterdir()]


def test_failed_writes_leave_no_file(tmp_path):
    file = tmp_path / "a.dds"
    file.write_text("earlier")
    full = python("import kpximage, numpy, resource, sys\nresource.setrlimit(resource.RLIMIT_FSIZE, (9999, 9999))\n"
                  "try: kpximage.write(sys.argv[1], numpy.zeros((99, 99, 4), 'u1'))\nexcept kpximage.Error as e: print(e)", file)
    assert full.stdout.startswith(f"{file}: could not be written: ") and full.stdout.endswith("is the disk full?\n")
    with pytest.raises(kpximage.Error, match=r"Cannot open file .*a\.dds; "):
        kpximage.write(file, np.broadcast_to(np.uint8(0), (70000, 70000, 3)))
    previous = signal.signal(signal.SIGALRM, lambda *_: signal.raise_signal(signal.SIGINT))
    with pytest.raises(KeyboardInterrupt):
        signal.setitimer(signal.ITIMER_REAL, 0.002)
        kpximage.write(file, np.zeros((4096, 4096, 4), np.uint8))
    signal.signal(signal.SIGALRM, previous)
    assert file.read_text() == "earlier" and len([*tmp_path.iterdir()]) == 1


def test_interpreter_runs_during_reading_and_writing(tmp_path):
    steps, done = [], threading.Event()

    def step():
        while not done.is_set():
            steps.append(time.sleep(0))  # releases the interpreter lock; the switch interval is an hour

    interval = sys.getswitchinterval()
    sys.setswitchinterval(3600)
    thread = threading.Thread(target=step, daemon=True)
    thread.start()
    for work in (lambda: kpximage.write(tmp_path / "a.dds", large), lambda: kpximage.read(tmp_path / "a.dds")):
        large = np.zeros((2048, 4096, 4), np.uint8)
        before = len(steps)
        work()
        assert len(steps) > before
    done.set()
    sys.setswitchinterval(interval)
    thread.join()


def test_threads_read_in_parallel(examples):
    files = [*examples.glob("*.dds")]
    alone = [kpximage.read(file) for file in files]
    with ThreadPoolExecutor(8) as threads:
        for first, second in zip(alone * 4, threads.map(kpximage.read, files * 4)):
            assert np.array_equal(first, second, equal_nan=first.dtype.kind == "f")


def test_output_of_other_threads_is_complete(examples):
    """Other threads print by C and by Python while the plug-in prints about short files."""
    printing = [name for name, columns in MANIFEST.items() if name.startswith("examples/") and "Error" in columns[6]]
    run = python("import ctypes, kpximage, sys, threading, warnings\nwarnings.simplefilter('ignore')\nlibc = ctypes.CDLL(None)\n"
                 "def reading():\n  for _ in range(300): kpximage.read(sys.argv[1])\n"
                 "threads = [threading.Thread(target=reading) for _ in range(4)]\nfor t in threads: t.start()\n"
                 "for _ in range(2000): libc.printf(b'C\\n'); print('Python')\nfor t in threads: t.join()\nlibc.printf(b'end\\n')",
                 examples / f"{printing[0][9:]}.dds")
    assert (run.stdout.count("C\n"), run.stdout.count("Python\n"), run.stdout.count("end\n")) == (2000, 2000, 1)
    assert len(run.stdout) == 2000 * 9 + 4 and run.stderr == ""


def test_a_thousand_readings_leak_nothing(examples, tmp_path):
    (tmp_path / "a.dds").write_bytes((examples / "dxt5.dds").read_bytes())

    def work():
        picture = kpximage.read(tmp_path / "a.dds")
        counts = sys.getrefcount(picture), sys.getrefcount(picture.base)
        assert counts == (2, 2)
        kpximage.write(tmp_path / "b.dds", picture)
        pytest.raises(kpximage.Error, kpximage.read, tmp_path)
        kpximage.read(examples / "bad/ati1-code.dds")

    def held():
        return int(Path("/proc/self/statm").read_text().split()[1]) * 4096, len(os.listdir("/proc/self/fd"))

    for _ in range(100):
        work()
    before = held()
    for _ in range(1000):
        work()
    after = held()
    assert after[0] - before[0] < 2 << 20 and after[1] == before[1]


def test_finds_the_plugin():
    say = "import kpximage\ntry: print(kpximage.plugin_path())\nexcept kpximage.Error as e: print(e.path, e)"
    environment = {name: value for name, value in os.environ.items() if not name.startswith("KPX_PLUGIN")}
    for change, text in (({}, f"{BUILD}/python/kpximage/KPXDDS.so"), ({"KPX_PLUGIN_PATH": f"/no:{BUILD}"}, f"{BUILD}/KPXDDS.so"),
                         ({"KPX_PLUGIN": "/no.so"}, "None cannot load the plug-in: /no.so: ")):
        assert python(say, env={**environment, **change}).stdout.startswith(text)


def test_readme_example_runs(examples, monkeypatch):
    monkeypatch.chdir(examples.parents[1])
    Path("build").mkdir()
    section = (SOURCE / "README.md").read_text().split("## From Python\n")[1].split("\n## ")[0]
    code = re.findall(r"```python\n(.*?)```", section, re.S)
    assert len(code) == 1
    exec(code[0], {})
    assert [*Path("build").iterdir()]


def test_images_have_grade_and_findings(examples):
    for name in ("dxt5.dds", "bad/rows-missing.dds", "bad/ati1-code.dds"):
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            picture = kpximage.read(examples / name)
        explained = kpximage.explain(examples / name)
        for each in (picture, picture[1:], pickle.loads(pickle.dumps(picture))):
            assert (each.grade, list(each.findings)) == (explained["grade"], explained["findings"])
    assert np.zeros(3).view(kpximage.Image).grade is None


def test_farm_matches_the_tool(examples, tmp_path):
    pytest.importorskip("distributed", reason="there is no Dask")
    folder = tmp_path / "textures"
    (folder / "below").mkdir(parents=True)
    for name in ("dxt5.dds", "dxt1.dds", "below/dxt3.dds"):
        (folder / name).write_bytes((examples / Path(name).name).read_bytes())
    (folder / "black.dds").write_bytes((examples / "bad" / "ati1-code.dds").read_bytes())
    (folder / "text.dds").write_text("no texture")
    farm = subprocess.run([sys.executable, SOURCE / "examples/farm.py", "--workers", "2", "--tool", BUILD / "kpximage",
                           folder, tmp_path / "farm"], capture_output=True, text=True,
                          env={**os.environ, "KPX_PLUGIN": str(BUILD / "KPXDDS.so")})
    assert farm.returncode == 1, farm.stderr
    records = {record["file"]: record for record in map(json.loads, farm.stdout.splitlines())}
    files = sorted(folder.rglob("*.dds"))
    assert sorted(records) == [str(path) for path in files]
    tool("convert", "-r", "-q", folder, "-o", tmp_path / "tool", "--format", "png")
    for path in files:
        record = records[str(path)]
        output = record.pop("output", None)
        assert (output is None) == ("error" in record)
        record.pop("error", None)
        assert record == json.loads(tool("explain", "--json", path).stdout)
        made = (tmp_path / "tool" / path.relative_to(folder)).with_suffix(".png")
        assert made.exists() == (output is not None)
        assert output is None or Path(output).read_bytes() == made.read_bytes()
