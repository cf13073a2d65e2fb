"""Type stubs of hdr_tm: libhdr_tm's LUTs, stages and checks as numpy arrays."""
import os
from typing import Any, Literal, Sequence, Union

import numpy as np
import numpy.typing as npt

__version__: str

PathLike = Union[str, "os.PathLike[str]"]
TuningLike = Union["Tuning", PathLike, None]
Float32Array = npt.NDArray[np.float32]
Direction = Literal["forward", "inverse"]
Blend = Literal["pq", "layer", "hlg"]

class Tuning:
    @staticmethod
    def from_file(path: PathLike, force: bool = False) -> Tuning: ...
    @staticmethod
    def defaults() -> Tuning: ...
    def replace(self, **fields: Union[int, float]) -> Tuning: ...
    def to_dict(self) -> dict[str, Any]: ...
    path: str | None  # read-only
    curve: dict[str, Any]  # read-only
    pcc: npt.NDArray[np.float64] | None  # read-only
    panel_max_luminance: int
    panel_min_luminance: float
    nominal_peak_luminance: float
    panel_color_mode: int
    output_gamma_val: float
    output_gamma_space: int
    t0: float
    sharp: float
    slope: float
    intl: float
    inth: float
    pivot: float
    LinearBoost: float
    bright_enable: int
    sysGamma: float
    tlower: float
    tupper: float
    sat_enable: int
    t1: float
    t2: float
    kmax: float
    clipLuma: float
    enableM: int
    fixedClip: int
    fixedRatio: int
    linearScale: int
    scaleStart: float
    ratio: float
    version: int

class Diagnostic:
    severity: Literal["error", "warning", "note"]  # read-only
    code: str  # read-only
    line: int | None  # read-only
    column: int | None  # read-only
    message: str  # read-only
    stored: str | None  # read-only

def check(path: PathLike) -> list[Diagnostic]: ...

class Layer:
    def __init__(
        self,
        transfer: Union[str, int],
        primaries: Union[str, int, None] = None,
        content_class: int | None = None,
        master: int | None = None,
        cll: int | None = None,
    ) -> None: ...
    transfer: int  # read-only
    primaries: int  # read-only
    content_class: int  # read-only
    master: int  # read-only
    cll: int | None  # read-only
    text: str  # read-only

class Configuration:
    layers: list[Layer]  # read-only
    blend: Blend  # read-only
    hw: bool  # read-only

class Lut:
    codes: npt.NDArray[np.uint16]  # read-only
    grid: npt.NDArray[np.float64]  # read-only
    grid_codes: npt.NDArray[np.uint16]  # read-only
    hardware_grid: npt.NDArray[np.uint16] | None  # read-only
    bits: int  # read-only
    kind: Literal["layer", "hardware", "file"]  # read-only
    label: str  # read-only
    layer: int  # read-only
    pipeline: str | None  # read-only
    checksum: int | None  # read-only
    input_signal: Literal["pq", "hlg", "sdr"]  # read-only
    output_signal: Literal["panel", "pq", "hlg"]  # read-only
    levels: list[dict[str, Any]]  # read-only: level, input_nits, input_code, output_nits, output_codes
    def apply(self, image: Union[npt.NDArray[np.uint16], Float32Array]) -> Union[npt.NDArray[np.uint16], Float32Array]: ...
    def write(self, path: PathLike) -> None: ...

class RunResult:
    row: str  # read-only
    rows: list[str]  # read-only
    luts: list[Lut]  # read-only
    log: list[str]  # read-only
    status: int  # read-only
    printed: str  # read-only
    problems: list[str]  # read-only
    configuration: str  # read-only

def run(
    layers: Union[Layer, str, Sequence[Union[Layer, str]]],
    blend: Blend = "pq",
    hw: bool = False,
    tuning: TuningLike = None,
) -> RunResult: ...
def read_lut(path: PathLike) -> Lut: ...
def demo_configurations() -> list[Configuration]: ...
def diff(
    a: TuningLike,
    b: TuningLike,
    layers: Union[Layer, str, Sequence[Union[Layer, str]], None] = None,
    blend: Blend = "pq",
    hw: bool = False,
    max_de: float | None = None,
) -> dict[str, Any]: ...

def st2084_forward_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def st2084_inverse_tf(colours: Float32Array, in_max: int = 1, out_scale: int = 1) -> Float32Array: ...
def HLG_forward_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def HLG_inverse_tf(colours: Float32Array, in_max: int = 1, out_scale: int = 1) -> Float32Array: ...
def bt709_forward_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def bt709_inverse_tf(colours: Float32Array, in_max: int = 1, out_scale: int = 1) -> Float32Array: ...
def sRGB_forward_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def sRGB_inverse_tf(colours: Float32Array, in_max: int = 1, out_scale: int = 1) -> Float32Array: ...
def gamma2p2_forward_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def gamma2p2_inverse_tf(colours: Float32Array, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def gamma_custom_forward_tf(colours: Float32Array, gamma: float, in_scale: int = 1, out_scale: int = 1) -> Float32Array: ...
def OOTF_forward_tf(colours: Float32Array, peak: float) -> Float32Array: ...
def OOTF_inverse_tf(colours: Float32Array, peak: float) -> Float32Array: ...
def tone_curve(tuning: TuningLike, log_nits: Float32Array, inverse: bool = False) -> Float32Array: ...
def yTM(tuning: TuningLike, luminance: Float32Array, direction: Direction = "forward") -> Float32Array: ...
def tone_mapping_core(tuning: TuningLike, colours: Float32Array, direction: Direction = "forward") -> Float32Array: ...
def inverse_tone_mapping_core(
    tuning: TuningLike, colours: Float32Array, bt2020_input: bool = False, direction: Direction = "forward"
) -> Float32Array: ...
def lut3d_process(
    tuning: TuningLike, grid: npt.ArrayLike | None = None, *, bits: int = 10, gamut_mode: int = 2, pcc: npt.ArrayLike | None = None
) -> Float32Array: ...
def HLG_lut3d_process(
    tuning: TuningLike, grid: npt.ArrayLike | None = None, *, bits: int = 10, gamut_mode: int = 2, pcc: npt.ArrayLike | None = None
) -> Float32Array: ...
def inverse_lut3d_process(
    tuning: TuningLike, grid: npt.ArrayLike | None = None, *, hlg_input: bool = False, bits: int = 10
) -> Float32Array: ...
def HLG_inverse_lut3d_process(tuning: TuningLike, grid: npt.ArrayLike | None = None, *, bits: int = 10) -> Float32Array: ...
def powf(x: Float32Array, y: float | Float32Array) -> Float32Array: ...
def logf(x: Float32Array) -> Float32Array: ...
def log10f(x: Float32Array) -> Float32Array: ...
def delta_e_itp(a: npt.ArrayLike, b: npt.ArrayLike) -> npt.NDArray[np.float64]: ...
