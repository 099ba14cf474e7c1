"""Reads, writes, explains and repairs DDS textures through the plug-in of KPXbase.

Pictures are NumPy arrays of shape (height, width, channels), the top row first, of uint8 or float32.

    picture = kpximage.read("wall.dds")
    kpximage.write("copy.dds", picture)

All functions may be called by several threads at once; none holds the interpreter while files are read, decoded or
written. The plug-in is the file that the environment variable KPX_PLUGIN names, or the first KPXDDS.so in the folders
of KPX_PLUGIN_PATH, beside this package or in the installed place; it is loaded once.
"""

from __future__ import annotations

import json
import os
import warnings
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any, Iterator, Optional, Sequence, Tuple, Union

import numpy as np

from . import _kpximage

__all__ = ["Error", "Image", "ImageWarning", "explain", "plugin_path", "read", "repair", "write"]
__version__ = _kpximage.version

Path = Union[str, bytes, "os.PathLike[Any]"]

if TYPE_CHECKING:
    _Array = np.ndarray[Any, Any]
else:
    _Array = np.ndarray

_default_names = {1: "Y", 3: "RGB", 4: "RGBA"}


class Error(Exception):
    """What a file or the plug-in did not allow: "PATH: SENTENCE".

    path: the file, as it was given; None where no plug-in can be loaded.
    sentence: what kpximage, the tool, says of it.
    """

    def __init__(self, path: Optional[Path], sentence: str) -> None:
        super().__init__(path, sentence)
        self.path = path
        self.sentence = sentence

    def __str__(self) -> str:
        return self.sentence if self.path is None else _text(self.path, self.sentence)


class ImageWarning(UserWarning):
    """A picture is not what one may take it for: black, in place of what cannot be decoded, or stored wider."""


class Image(_Array):
    """A picture with what is known of it beside its values.

    channels: the names of the last axis, such as ("R", "G", "B", "A"), ("Y",) or ("A",), by their places. Arrays that
    are made of it have them where they have three axes and the last is as long, whatever it is then; else None.
    is_black: whether it comes of the 64 by 64 black picture that stands for what cannot be decoded.
    """

    _names: Optional[Tuple[str, ...]] = None
    is_black: bool = False

    @property
    def channels(self) -> Optional[Tuple[str, ...]]:
        has_names = self._names is not None and self.ndim == 3 and self.shape[2] == len(self._names)
        return self._names if has_names else None

    def __array_finalize__(self, source: Any) -> None:
        self._names = getattr(source, "_names", None)
        self.is_black = getattr(source, "is_black", False)

    def __reduce__(self) -> Tuple[Any, ...]:
        make, arguments, state = super().__reduce__()  # type: ignore[misc]
        return make, arguments, (state, self._names, self.is_black)

    def __setstate__(self, state: Any) -> None:
        array, self._names, self.is_black = state
        super().__setstate__(array)


def _text(path: Path, sentence: str) -> str:
    return f"{os.fsdecode(path)}: {sentence}"


def _file_name(path: Path) -> bytes:
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError("embedded null byte")
    return name


@contextmanager
def _errors_of(path: Optional[Path], output: Optional[Path] = None) -> Iterator[None]:
    try:
        yield
    except _kpximage.OutputFailure as failure:
        raise Error(path if output is None else output, str(failure)) from None
    except _kpximage.Failure as failure:
        raise Error(path, str(failure)) from None


def plugin_path() -> str:
    """The absolute path of the plug-in, which is loaded if it has not been.

    Raises Error where there is none that can be loaded.
    """
    with _errors_of(None):
        return os.fsdecode(_kpximage.plugin_path())


def read(path: Path) -> Image:
    """Reads the first picture of a DDS file as an array (height, width, channels), the top row first.

    Values are uint8, or float32 of files with floats; colour spaces are not converted. What cannot be decoded becomes
    the 64 by 64 black picture: is_black is then true, and an ImageWarning says why.

    Raises Error where the file cannot be opened, is no DDS file or has no pixels, MemoryError where there is no memory
    for the picture. Signals are heeded between files and pictures, not while one is decoded.
    """
    name = _file_name(path)
    plugin_path()
    with _errors_of(path):
        array, channels, why_black = _kpximage.read(name)
    picture: Image = array.view(Image)
    picture._names = tuple(channels)
    picture.is_black = bool(why_black)
    if why_black:
        warnings.warn(_text(path, why_black), ImageWarning, stacklevel=2)
    return picture


def write(path: Path, array: Any, channels: Optional[Sequence[str]] = None,
          alpha: Union[bool, str, None] = None) -> None:
    """Writes an uncompressed DDS file of 24-bit BGR or, with alpha, 32-bit BGRA, whole or not at all.

    array: uint8 of shape (height, width) or (height, width, 1 to 4), the top row first.
    channels: the name of each channel, in any order, of one of the sets Y, R, A, YA, RA, RG, RGA, RGB and RGBA; R
    without G is written as grey. Else those of the array; else by their number: 1 is Y, 3 are RGB, 4 are RGBA.
    alpha: False leaves alpha out; or a value of the plug-in's option "Alpha", by its name.

    Raises ValueError for other shapes, channels and values of alpha, TypeError for values other than uint8, Error for
    floats and where the file cannot be written. An ImageWarning says where another width is stored; where warnings are
    raised, nothing is written.
    """
    name = _file_name(path)
    pixels = np.asarray(array)
    if pixels.dtype != np.uint8 and pixels.dtype.kind != "f":
        raise TypeError(f"has values of {pixels.dtype}, which cannot be written as DDS: they have to be uint8")
    if pixels.ndim == 2:
        pixels = pixels[..., np.newaxis]
    if pixels.ndim != 3 or not 1 <= pixels.shape[2] <= 4:
        raise ValueError(f"is of shape {np.shape(array)}, not (height, width) or (height, width, 1 to 4)")
    count = pixels.shape[2]
    if channels is None and np.ndim(array) == 3:
        channels = getattr(array, "channels", None)
    if channels is None:
        channels = _default_names.get(count)
    if channels is None:
        raise ValueError("has two channels without names, which channels has to give: YA or RG")
    if len(channels) != count or any(len(one) != 1 for one in channels):
        raise ValueError(f"has {count} channels, not {channels!r}")
    if alpha is not None and not isinstance(alpha, str):
        alpha = "Output alpha" if alpha else "Do not output alpha"

    def tell(sentence: str) -> None:
        warnings.warn(_text(path, sentence), ImageWarning, stacklevel=3)

    plugin_path()
    with _errors_of(path):
        _kpximage.write(name, pixels, "".join(channels), alpha or "", tell)


def explain(path: Path) -> "dict[str, Any]":
    """What a file is, how it is read and why it looks as it does: the object of `kpximage explain --json`.

    Raises Error where the file cannot be read.
    """
    name = _file_name(path)
    with _errors_of(path):
        return json.loads(_kpximage.explain(name))


def repair(path: Path, out: Optional[Path] = None, convert: bool = False) -> "dict[str, Any]":
    """Writes a copy whose header says the same picture in a form that is decoded: the object of `kpximage repair --json`.

    out: the copy, which appears whole or not at all, and only where "result" is "repaired" or "recoded"; without it
    nothing is written, as with --dry-run.
    convert: the picture may be converted too, where nothing else helps.

    Raises Error where the file cannot be read or the copy cannot be written.
    """
    names = _file_name(path), None if out is None else _file_name(out)
    with _errors_of(path, out):
        return json.loads(_kpximage.repair(*names, bool(convert)))
