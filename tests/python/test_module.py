"""The module as a user meets it: its stubs and help, and the README's example."""
import ast
import os
import re
import shutil
import struct
import subprocess
import sys
from pathlib import Path

import hdr_tm
from conftest import SOURCE

PUBLIC = {name for name in dir(hdr_tm) if not name.startswith("_")}


def stub_names():
    tree = ast.parse((SOURCE / "tools" / "python" / "hdr_tm.pyi").read_text())
    names = {node.name for node in tree.body if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    aliases = {t.id for node in tree.body if isinstance(node, ast.Assign) for t in node.targets}
    return names, aliases


def test_the_stubs_name_what_the_module_has():
    names, aliases = stub_names()
    assert names == PUBLIC, "hdr_tm.pyi and the module disagree"
    assert not aliases & PUBLIC


def test_help_shows_a_docstring_for_everything():
    for name in PUBLIC:
        assert getattr(hdr_tm, name).__doc__, name
    assert "Tuning.from_file" in hdr_tm.Tuning.__doc__ and hdr_tm.run.__doc__.count("hdrtm lut") == 1


def png_size(path):
    return struct.unpack(">II", Path(path).read_bytes()[16:24])


def test_the_readme_example_draws_the_readme_picture(tmp_path):
    readme = (SOURCE / "README.md").read_text()
    example = re.search(r"## The Python module.*?```python\n(.*?)```", readme, re.S).group(1)
    picture = re.search(r'plt\.savefig\("([^"]+)"', example).group(1)
    assert f"]({picture})" in readme, "the README shows the picture its example draws"
    for tuning in re.findall(r'Tuning\.from_file\("([^"]+)"\)', example):
        (tmp_path / tuning).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(SOURCE / tuning, tmp_path / tuning)
    (tmp_path / picture).parent.mkdir(parents=True, exist_ok=True)
    done = subprocess.run([sys.executable, "-c", example], cwd=tmp_path, capture_output=True, text=True,
                          env={**os.environ, "MPLBACKEND": "Agg"})
    assert done.returncode == 0, done.stderr
    assert done.stdout.startswith("layer LUT: lut3d_process (17, 17, 17, 3)")
    assert png_size(tmp_path / picture) == png_size(SOURCE / picture)
