"""Plot how the KT/BT drift correction holds a reading steady while the camera's focal plane warms.

    PYTHONPATH=python /usr/bin/python3 examples/python/drift_plot.py CAMERA_DIR drift.png [--celsius 40]

An uncooled sensor's raw response to the same blackbody changes with the temperature of the sensor
itself (the focal plane, reported as the reading vtemp). This script points a simulated camera at a
blackbody that fills the view, warms the focal plane over the range the camera's KT/BT arrays
cover, and compares two readings of each frame: the raw response looked up in the NUC table as it
is, and the camera's reading through Camera.to_celsius (KT/BT correction at the frame's vtemp,
then the NUC table). CAMERA_DIR is a camera profile, e.g. the one `radimo demo` writes.
"""
import argparse

import matplotlib

matplotlib.use("Agg")  # files only, no display needed
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import radimo  # noqa: E402


def vtemp_range(camera):
    """The focal-plane readings whose KT/BT index lies inside the arrays (not clamped to an end)."""
    vtemps = np.arange(65536)
    index = camera.ktbt_index(vtemps)
    inside = vtemps[(index > 0) & (index < camera.ktbt.kt.size - 1)]
    return int(inside.min()), int(inside.max())


def blackbody_frames(camera, celsius, vtemps, seed=1):
    """Raw frames of a blackbody at `celsius` filling the view, one per vtemp: the response the
    camera's calibration expects (the NUC value of the temperature, with the KT/BT correction undone
    at that vtemp) plus +-1.5 NUC of sensor noise."""
    rng = np.random.default_rng(seed)
    nuc = radimo.celsius_to_nuc(camera.nuc_table, celsius)
    for vtemp in vtemps:
        response = float(camera.ktbt.reverse(nuc, vtemp))
        noise = rng.triangular(-1.5, 0.0, 1.5, size=(camera.height, camera.width))
        yield np.clip(np.rint(response + noise), 0, 16383).astype(np.uint16)


def drift_readings(camera, celsius, vtemps):
    """(corrected, uncorrected) readings in degC: the mean of the central 64 x 64 pixels of each
    frame, with the KT/BT correction and with the raw response read straight from the NUC table."""
    y, x = camera.height // 2 - 32, camera.width // 2 - 32
    corrected, uncorrected = [], []
    for raw, vtemp in zip(blackbody_frames(camera, celsius, vtemps), vtemps):
        centre = (slice(y, y + 64), slice(x, x + 64))
        corrected.append(camera.to_celsius(raw, vtemp=vtemp)[centre].mean())
        uncorrected.append(radimo.nuc_to_celsius(camera.nuc_table, raw[centre]).mean())
    return np.array(corrected), np.array(uncorrected)


def plot(camera, celsius, vtemps, corrected, uncorrected, path):
    """A two-panel figure: both readings against the true temperature, and the corrected error."""
    fig, (top, bottom) = plt.subplots(2, 1, sharex=True, figsize=(8.5, 6.2), dpi=110,
                                      gridspec_kw={"height_ratios": [2.2, 1]}, layout="constrained")
    top.axhline(celsius, color="0.35", linestyle="--", linewidth=1.2, label=f"blackbody {celsius:g} °C")
    top.plot(vtemps, uncorrected, color="#d1495b", linewidth=2,
             label="without drift correction (raw response → NUC table)")
    top.plot(vtemps, corrected, color="#00798c", linewidth=2,
             label="with KT/BT correction (Camera.to_celsius)")
    # The two spreads, in the empty lower-left corner.
    top.text(0.02, 0.05, f"without correction: {uncorrected.min():.1f} .. {uncorrected.max():.1f} °C\n"
             f"with KT/BT: {corrected.min():.2f} .. {corrected.max():.2f} °C", transform=top.transAxes,
             fontsize=9, va="bottom", linespacing=1.6, bbox={"facecolor": "white", "edgecolor": "0.8"})
    top.set_ylabel("reading (°C)")
    top.set_title(f"A {celsius:g} °C blackbody seen while the focal plane warms\n{camera.name or camera.path}",
                  fontsize=11)
    top.legend(loc="upper right", frameon=False, fontsize=9)
    top.grid(alpha=0.3)

    error = corrected - celsius
    bottom.axhspan(-0.5, 0.5, color="#00798c", alpha=0.12, label="±0.5 °C")
    bottom.axhline(0.0, color="0.35", linestyle="--", linewidth=1)
    bottom.plot(vtemps, error, color="#00798c", linewidth=1.6, label="corrected reading - true")
    bottom.set_ylim(-1.0, 1.0)
    bottom.set_ylabel("error (°C)")
    bottom.set_xlabel("focal-plane reading vtemp (the sensor warms to the right)")
    bottom.legend(loc="lower right", frameon=False, fontsize=9, ncol=2)
    bottom.grid(alpha=0.3)

    # The KT/BT entry each reading selects, on the top axis.
    k = camera.ktbt
    to_index = lambda v: v * k.K_Temp / 16384 + k.B_Temp - k.Address_CA - 1  # noqa: E731
    to_vtemp = lambda i: (i - k.B_Temp + k.Address_CA + 1) * 16384 / k.K_Temp  # noqa: E731
    top.secondary_xaxis("top", functions=(to_index, to_vtemp)).set_xlabel("KT/BT entry", fontsize=9)
    fig.savefig(path)
    plt.close(fig)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("camera", help="camera profile directory")
    parser.add_argument("png", help="output picture")
    parser.add_argument("--celsius", type=float, default=40.0, help="blackbody temperature (default 40)")
    parser.add_argument("--steps", type=int, default=60, help="focal-plane readings plotted (default 60)")
    args = parser.parse_args(argv)
    camera = radimo.Camera(args.camera)
    vtemps = np.linspace(*vtemp_range(camera), args.steps).round().astype(int)
    corrected, uncorrected = drift_readings(camera, args.celsius, vtemps)
    plot(camera, args.celsius, vtemps, corrected, uncorrected, args.png)
    print(f"{args.png}: corrected {corrected.min():.2f} .. {corrected.max():.2f} °C, "
          f"uncorrected {uncorrected.min():.2f} .. {uncorrected.max():.2f} °C")
    return corrected, uncorrected


if __name__ == "__main__":
    main()
