#!/usr/bin/env python3
"""Follows docs/extending.md in a copy of the tree, builds the module, and plays and tags with it.

Needs build/native/wavehost. Usage: scripts/test_guide.py
"""
import json
import os
import re
import shutil
import struct
import subprocess
import sys

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
copy = os.path.join(root, "build", "guide")
place = re.compile(
    r"(?:New file `(?P<new>[^`]+)`|In `(?P<old>[^`]+)`, (?P<where>behind|in front of) `(?P<mark>[^`]+)`):\n\n"
    r"```cpp\n(?P<code>.*?)```", re.S)


def put(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        with open(path, "rb") as file:
            if file.read() == content:
                return  # its time decides what is built again
    with open(path, "wb") as file:
        file.write(content)


def with_block(text, mark, where, code):
    lines = text.splitlines(keepends=True)
    found = [i for i, line in enumerate(lines) if mark in line]
    assert len(found) == 1, f"{mark} stands {len(found)} times"
    at = found[0] + (where == "behind")
    return "".join(lines[:at]) + code + "".join(lines[at:])


def follow():
    names = subprocess.run(["git", "ls-files", "-z", ":!fuzz/corpus", ":!fuzz/crashes", ":!tests"], cwd=root,
                           check=True, capture_output=True, text=True).stdout.split("\0")
    tree = {}
    for name in filter(None, names):
        with open(os.path.join(root, name), "rb") as file:
            tree[name] = file.read()
    steps = list(place.finditer(open(os.path.join(root, "docs", "extending.md")).read()))
    assert len(steps) > 10, "the page is not what this script reads"
    for step in steps:
        if step["new"]:
            assert step["new"] not in tree, step["new"]
            tree[step["new"]] = step["code"].encode()
        else:
            text = with_block(tree[step["old"]].decode(), step["mark"], step["where"], step["code"])
            tree[step["old"]] = text.encode()
    for name, content in tree.items():
        put(os.path.join(copy, "tree", name), content)


def build():
    configure = ["cmake", "-S", "tree", "-B", "out", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DVANTOR_TESTS=OFF",
                 "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
    subprocess.run(configure, cwd=copy, check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", "out", "--target", "vantor_wave"], cwd=copy, check=True)
    shutil.copy(os.path.join(root, "build", "native", "wavehost"), copy)
    shutil.copy(os.path.join(copy, "out", "vantor_wave.so"), copy)


def wavehost(*arguments):
    return subprocess.run([os.path.join(copy, "wavehost"), *arguments], check=True, capture_output=True).stdout


def tags(file):
    return json.loads(wavehost("meta", "list", "--json", file))[0]["metadata"]


def content(name, data=None):
    path = os.path.join(copy, name)
    if data is not None:
        with open(path, "wb") as file:
            file.write(data)
    with open(path, "rb") as file:
        return path, file.read()


def try_scheme():
    sound = b"data" + struct.pack("<I", 400) + bytes(400)
    body = b"WAVEfmt " + struct.pack("<IHHIIHH", 16, 1, 1, 48000, 96000, 2, 16) + sound
    path, before = content("memo.wav", b"RIFF" + struct.pack("<I", len(body)) + body)
    for options in ([], ["--rebuild"]):
        wavehost("meta", "set", "--force", *options, path, "MEMO:Take=7", "MEMO:Text=second start")
        assert tags(path) == {"MEMO:Take": "7", "MEMO:Text": "second start"}, tags(path)
        wavehost("meta", "set", "--force", *options, path, "MEMO:Text=good")
        assert tags(path) == {"MEMO:Take": "7", "MEMO:Text": "good"}, tags(path)
        assert content("memo.wav")[1].endswith(b"memo" + struct.pack("<IH", 6, 7) + b"good")
        wavehost("meta", "set", "--force", *options, path, "MEMO:Text=", "MEMO:Take=")
        assert content("memo.wav")[1] == before, "taken out again it leaves something behind"


def try_chunk():
    desc = struct.pack(">d4sIIIII", 48000, b"lpcm", 2, 2, 1, 1, 16)
    chunks = [(b"desc", desc), (b"ptch", struct.pack(">I", 440)), (b"data", bytes(4) + bytes(100))]
    path, _ = content("pitch.caf", b"caff\0\1\0\0" + b"".join(i + struct.pack(">q", len(b)) + b for i, b in chunks))
    assert tags(path) == {"CAFINFO:pitch": "440"}, tags(path)


def try_container():
    samples = [1, -2, 300, -32768]
    chunks = [(b"head", struct.pack(">IHH", 44100, 2, 16)), (b"snd ", struct.pack(">4h", *samples))]
    path, _ = content("sound.wav", b"TAPE\0\0\0\0" + b"".join(i + struct.pack(">I", len(b)) + b for i, b in chunks))
    out = os.path.join(copy, "sound.raw")
    wavehost("render", path, "-o", out, "--raw", "--format", "f64")
    assert struct.unpack("<4d", content("sound.raw")[1]) == tuple(s / 32768 for s in samples)
    assert b"TAPE" in wavehost("info", path)


follow()
build()
for attempt in (try_scheme, try_chunk, try_container):
    attempt()
print("docs/extending.md leads to a scheme, a chunk and a container")
