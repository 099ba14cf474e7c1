"""Reads, writes, explains and repairs DDS textures through the plug-in of KPXbase.

Pictures are NumPy arrays of shape (height, width, channels), the top row first, of uint8 or float32.

    picture = kpximage.read("wall.dds")
    kpximage.write("copy.dds", picture)

All functions are thread-safe and release the interpreter lock while files are read, decoded or written. The plug-in is
the file named by the environment variable KPX_PLUGIN, or the first KPXDDS.so in the folders of KPX_PLUGIN_PATH, next to
this package or in the installed place. It is loaded once.
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


class Error(OSError):
    """Raised if a file cannot be read or written, or no plug-in can be loaded. Its text is "PATH: SENTENCE".

    If a system call failed, errno is its error number, and the exception is also an instance of the matching built-in
    class, such as FileNotFoundError or PermissionError. Otherwise errno is None.

    path: the path, as it was passed, or None if no plug-in can be loaded; filename is the same path as str or bytes.
    sentence: the message that the tool kpximage prints for the same failure.
    """

    def __init__(self, path: Optional[Path], sentence: str, code: Optional[int] = None) -> None:
        super().__init__(code, sentence, None if path is None else os.fspath(path))
        self.path = path
        self.sentence = sentence

    def __str__(self) -> str:
        return self.sentence if self.path is None else _text(self.path, self.sentence)

    def __reduce__(self) -> Tuple[Any, ...]:
        return _error, (self.path, self.sentence, self.errno)


# The subclasses of Error, by the built-in exceptions that OSError itself chooses by errno.
_kinds = {kind: type(kind.__name__, (Error, kind), {"__module__": __name__, "__doc__": kind.__doc__})
          for kind in (BlockingIOError, FileExistsError, FileNotFoundError, InterruptedError, IsADirectoryError,
                       NotADirectoryError, PermissionError, TimeoutError)}


def _error(path: Optional[Path], sentence: str, code: Optional[int]) -> Error:
    kind: Any = Error if code is None else _kinds.get(type(OSError(code, "")), Error)
    error: Error = kind(path, sentence, code)
    return error


class ImageWarning(UserWarning):
    """Says that a picture is black because it cannot be decoded, or that it is stored with a different width."""


class Image(_Array):
    """A picture, with information about its file.

    channels: the channel names along the last axis, such as ("R", "G", "B", "A"), ("Y",) or ("A",). An array derived
    from the picture keeps them if it has three axes and the last has the same length; otherwise they are None.
    is_black: whether it is the 64 by 64 black picture that replaces one that cannot be decoded.
    grade: the grade of the file, from "right" to "black"; None for arrays that were not read.
    findings: dicts with "id", "severity", "sentence" and perhaps "advice".
    """

    _names: Optional[Tuple[str, ...]] = None
    is_black: bool = False
    grade: Optional[str] = None
    findings: "Tuple[dict[str, str], ...]" = ()

    @property
    def channels(self) -> Optional[Tuple[str, ...]]:
        has_names = self._names is not None and self.ndim == 3 and self.shape[2] == len(self._names)
        return self._names if has_names else None

    def __array_finalize__(self, source: Any) -> None:
        self._names = getattr(source, "_names", None)
        self.is_black = getattr(source, "is_black", False)
        self.grade = getattr(source, "grade", None)
        self.findings = getattr(source, "findings", ())

    def __array_wrap__(self, array: Any, *context: Any) -> Any:
        # A single value, such as picture.max(), is a scalar, as for other arrays.
        return array[()] if array.ndim == 0 else super().__array_wrap__(array, *context)

    def __reduce__(self) -> Tuple[Any, ...]:
        make, arguments, state = super().__reduce__()  # type: ignore[misc]
        return make, arguments, (state, self._names, self.is_black, self.grade, self.findings)

    def __setstate__(self, state: Any) -> None:
        array, self._names, self.is_black, self.grade, self.findings = state
        super().__setstate__(array)


def _text(path: Path, sentence: str) -> str:
    return f"{os.fsdecode(path)}: {sentence}"


def _file_name(path: Path, argument: str = "path") -> bytes:
    if not isinstance(path, (str, bytes, os.PathLike)):
        raise TypeError(f"{argument} must be str, bytes or os.PathLike, not {type(path).__name__}")
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError(f"{argument} contains a null byte")
    return name


def _channel_names(channels: Any) -> Tuple[str, ...]:
    names = tuple(channels) if hasattr(channels, "__getitem__") else (channels,)
    if any(not isinstance(name, str) for name in names):
        raise TypeError(f"channels must be a str or a sequence of str, not {channels!r}")
    return names


def _is_bool(value: Any) -> bool:
    return isinstance(value, (bool, np.bool_))


@contextmanager
def _errors_of(path: Optional[Path], output: Optional[Path] = None) -> Iterator[None]:
    try:
        yield
    except _kpximage.Failure as failure:
        sentence, code, is_of_output = failure.args
        raise _error(output if is_of_output and output is not None else path, sentence, code) from None


def plugin_path() -> str:
    """Returns the absolute path of the plug-in. Loads it if needed.

    Raises Error if no plug-in can be loaded.
    """
    with _errors_of(None):
        return os.fsdecode(_kpximage.plugin_path())


def read(path: Path) -> Image:
    """Reads the first picture of a DDS file as an array (height, width, channels), the top row first.

    Values are uint8, or float32 if the file has floats. Colour spaces are not converted. If a file cannot be decoded,
    the picture is black, 64 by 64, its is_black is true, and an ImageWarning says why.

    Raises Error if the file cannot be opened, is not a DDS file or has no pixels, and MemoryError if the picture cannot
    be allocated. Signals are handled only after a picture has been decoded.
    """
    name = _file_name(path)
    plugin_path()
    with _errors_of(path):
        array, channels, why_black, grade, findings = _kpximage.read(name)
    picture: Image = array.view(Image)
    picture._names = tuple(channels)
    picture.is_black = bool(why_black)
    picture.grade, picture.findings = grade, tuple(json.loads(findings))
    if why_black:
        warnings.warn(_text(path, why_black), ImageWarning, stacklevel=2)
    return picture


def write(path: Path, array: Any, channels: Optional[Sequence[str]] = None,
          alpha: Union[bool, str, None] = None) -> None:
    """Writes an uncompressed DDS file, completely or not at all: 24-bit BGR or, with alpha, 32-bit BGRA.

    path: a name that ends in .dds.
    array: uint8 of shape (height, width) or (height, width, 1 to 4), the top row first.
    channels: the name of each channel, in any order, from one of the sets Y, R, A, YA, RA, RG, RGA, RGB and RGBA. R
    without G is written as grey. Default: the channels of the Image, or by their count: 1 is Y, 3 is RGB, 4 is RGBA.
    alpha: a bool, where False drops alpha, or the name of a value of the plug-in's option "Alpha".

    Floats must be converted to uint8 first. For scene-linear colours, as in float pictures that read returns:

        light = np.nan_to_num(picture).clip(0, 1)
        srgb = np.where(light <= 0.0031308, 12.92 * light, 1.055 * light ** (1 / 2.4) - 0.055)
        kpximage.write("out.dds", np.rint(255 * srgb).astype(np.uint8))

    Raises ValueError for any other name, shape, channels or value of alpha, and if the array has only some channels of
    an Image and channels is not passed. Raises TypeError for values other than uint8 and for masked arrays. Raises
    Error if the file cannot be written. An ImageWarning says that a different width is stored. If a warning filter
    turns it into an exception, no file is written.
    """
    name = _file_name(path)
    if not name.lower().endswith(b".dds"):
        raise ValueError(f"path must end in .dds: {os.fsdecode(path)!r}")
    if isinstance(array, np.ma.MaskedArray):
        raise TypeError("array is masked: pass array.filled(value)")
    pixels = np.asarray(array)
    if pixels.dtype != np.uint8:
        raise TypeError(f"array must have values of uint8, not {pixels.dtype}: convert them first")
    if pixels.ndim == 2:
        pixels = pixels[..., np.newaxis]
    if pixels.ndim != 3 or not 1 <= pixels.shape[2] <= 4:
        raise ValueError(f"array must have the shape (height, width) or (height, width, 1 to 4), not {np.shape(array)}")
    count = pixels.shape[2]
    if channels is None and isinstance(array, Image) and array.ndim == 3:
        channels = array.channels
        if channels is None and array._names is not None:
            raise ValueError(f"array has {count} of the channels {''.join(array._names)}: pass channels to name them")
    if channels is None:
        channels = _default_names.get(count)
    if channels is None:
        raise ValueError("array has two channels without names: pass channels, \"YA\" or \"RG\"")
    names = _channel_names(channels)
    if len(names) != count:
        raise ValueError(f"channels must be {count} names, as array has {count} channels, not {channels!r}")
    if any(one not in ("Y", "R", "G", "B", "A") for one in names):
        raise ValueError(f"channels must be of Y, R, G, B and A, not {channels!r}")
    if _is_bool(alpha):
        alpha = "Output alpha" if alpha else "Do not output alpha"
    elif alpha is not None and not isinstance(alpha, str):
        raise TypeError(f"alpha must be a bool, a str or None, not {type(alpha).__name__}")

    def warn(sentence: str) -> None:
        warnings.warn(_text(path, sentence), ImageWarning, stacklevel=3)

    plugin_path()
    with _errors_of(path):
        _kpximage.write(name, pixels, "".join(names), alpha, warn)


def explain(path: Path) -> "dict[str, Any]":
    """Returns what a file is, how it is read and why it looks as it does: the object of `kpximage explain --json`.

    Raises Error if the file cannot be read.
    """
    name = _file_name(path)
    with _errors_of(path):
        file: "dict[str, Any]" = json.loads(_kpximage.explain(name))
    return file


def repair(path: Path, out: Optional[Path] = None, convert: bool = False) -> "dict[str, Any]":
    """Writes a copy with a corrected header. Returns the object of `kpximage repair --json`.

    out: path of the copy, which is written completely or not at all, and only if "result" is "repaired" or "recoded".
    Without out, nothing is written, as with --dry-run.
    convert: also recode the pixels if a new header is not enough.

    Raises Error if the file cannot be read or the copy cannot be written.
    """
    names = _file_name(path), None if out is None else _file_name(out, "out")
    if not _is_bool(convert):
        raise TypeError(f"convert must be a bool, not {type(convert).__name__}")
    with _errors_of(path, out):
        report: "dict[str, Any]" = json.loads(_kpximage.repair(*names, bool(convert)))
    return report
