"""python3 -m orvane list / grab as processes."""
import os
import subprocess
import sys

from conftest import SOURCE


def run(*args):
    env = dict(os.environ, PYTHONPATH=os.path.join(SOURCE, "python"))
    return subprocess.run([sys.executable, "-m", "orvane", *args], capture_output=True, text=True, env=env,
                          timeout=120)


def test_list():
    r = run("list")
    assert r.returncode == 0, r.stderr
    assert r.stdout.splitlines() == ["Interface Virtual (Orvane virtual cameras): 1 camera",
                                     "  SERIAL  VENDOR  MODEL                  ACCESS",
                                     "  VC0001  Orvane  Orvane Virtual Camera  ReadWrite"]


def test_grab_and_save(tmp_path):
    r = run("grab", "-n", "3", "--save", str(tmp_path / "out"), "--stats")
    assert r.returncode == 0, r.stderr
    lines = r.stdout.splitlines()
    assert len(lines) == 3 and lines[0].startswith("VC0001 frame 1: 1280x960 Mono8 grey min ")
    assert sorted(os.listdir(tmp_path / "out")) == ["VC0001-1.png", "VC0001-2.png", "VC0001-3.png"]


def test_grab_an_unknown_camera():
    r = run("grab", "NOPE", "-n", "1")
    assert (r.returncode, r.stdout) == (1, "")
    assert r.stderr == "orvane: no camera has the serial number 'NOPE' (ORVANE_ERR_INVALID_ID -1007)\n"


def test_examples(tmp_path):
    env = dict(os.environ, PYTHONPATH=os.path.join(SOURCE, "python"))
    examples = os.path.join(SOURCE, "python", "examples")
    r = subprocess.run([sys.executable, os.path.join(examples, "grab_numpy.py")], capture_output=True, text=True,
                       env=env, timeout=120)
    assert r.returncode == 0, r.stderr
    assert len(r.stdout.splitlines()) == 10 and "(960, 1280) uint8" in r.stdout
    r = subprocess.run([sys.executable, os.path.join(examples, "save_sequence.py"), str(tmp_path), "2"],
                       capture_output=True, text=True, env=env, timeout=120)
    assert r.returncode == 0, r.stderr
    assert sorted(os.listdir(tmp_path)) == ["frame-0000.png", "frame-0001.png"]
    r = subprocess.run([sys.executable, os.path.join(examples, "software_trigger.py")], capture_output=True,
                       text=True, env=env, timeout=120)
    assert r.returncode == 0, r.stderr
    assert r.stdout.splitlines()[-1] == "no trigger, no frame" and len(r.stdout.splitlines()) == 6
