"""Convert a recorded archive of raw frames to degC with dask: block by block, in parallel, and on a
cluster the same way.

    PYTHONPATH=python /usr/bin/python3 examples/python/dask_archive.py CAMERA_DIR RAW.npy OUT.npy \\
        [--vtemps VTEMPS.npy] [--scene-correct] [--frames-per-block 16] [--scheduler threads]

RAW.npy is an (N, H, W) uint16 stack of raw frames in NumPy's file format and VTEMPS.npy the N
focal-plane readings recorded with them (without it every frame uses the camera's vtemp). Both are
opened memory-mapped, so the archive may be far larger than memory: dask reads a block of frames,
converts it with Camera.to_celsius and writes it into OUT.npy (float32) before the next block is
read. The library releases Python's lock (the GIL) during each call, so the local threaded
scheduler converts several blocks at once.

On a cluster, the same graph runs on dask.distributed workers (`Client("scheduler:8786")` before
`store`): keep the archive on a file system every worker reads and writes (or put a zarr or HDF5
store in place of the .npy files), and give each worker the library (RADIMO_LIBRARY) and this
package (PYTHONPATH). The Camera travels to the workers with the task: it is plain data.
`--scheduler processes` runs the same way on the local machine.
"""
import argparse

import dask
import dask.array as da
import numpy as np

import radimo


def celsius_archive(camera, raw, vtemps=None, scene_correct=False, frames_per_block=16):
    """A lazy (N, H, W) float32 dask array of the raw stack (any array of that shape) in degC."""
    n = raw.shape[0]
    frames = da.from_array(raw, chunks=(frames_per_block, camera.height, camera.width))
    if vtemps is None:
        vtemps = np.full(n, camera.vtemp, dtype=np.uint16)
    # One reading per frame, shaped (N, 1, 1) so that each block of frames meets its own readings.
    readings = da.from_array(np.asarray(vtemps).reshape(n, 1, 1), chunks=(frames_per_block, 1, 1))

    def convert(block, block_vtemps):
        return camera.to_celsius(block, vtemp=block_vtemps.ravel(), scene_correct=scene_correct)

    return da.map_blocks(convert, frames, readings, dtype=np.float32)


class NpyTarget:
    """An .npy file that dask stores into block by block. Each task opens the file for itself, so
    threads, processes and cluster workers (on a file system they share) write into the same file;
    a plain memory map would be copied into each process instead."""

    def __init__(self, path, shape, dtype=np.float32):
        np.lib.format.open_memmap(path, mode="w+", dtype=dtype, shape=shape).flush()  # header and size
        self.path, self.shape, self.dtype = str(path), shape, np.dtype(dtype)

    def __setitem__(self, index, block):
        out = np.load(self.path, mmap_mode="r+")
        out[index] = block
        out.flush()


def convert_archive(camera_dir, raw_path, out_path, vtemps_path=None, scene_correct=False,
                    frames_per_block=16, scheduler="threads"):
    """Converts RAW.npy into OUT.npy (float32 degC, same shape), a block of frames at a time."""
    camera = radimo.Camera(camera_dir)
    raw = np.load(raw_path, mmap_mode="r")
    vtemps = None if vtemps_path is None else np.load(vtemps_path)
    celsius = celsius_archive(camera, raw, vtemps, scene_correct, frames_per_block)
    with dask.config.set(scheduler=scheduler):
        da.store(celsius, NpyTarget(out_path, raw.shape), lock=False)  # blocks write disjoint frames
    return np.load(out_path, mmap_mode="r")


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("camera", help="camera profile directory")
    parser.add_argument("raw", help="(N, H, W) uint16 raw frames, .npy")
    parser.add_argument("out", help="output .npy, float32 degC")
    parser.add_argument("--vtemps", help="N focal-plane readings, .npy")
    parser.add_argument("--scene-correct", action="store_true", help="object temperatures (the camera's scene)")
    parser.add_argument("--frames-per-block", type=int, default=16)
    parser.add_argument("--scheduler", default="threads", help="threads (default), processes or synchronous")
    args = parser.parse_args(argv)
    out = convert_archive(args.camera, args.raw, args.out, args.vtemps, args.scene_correct, args.frames_per_block,
                          args.scheduler)
    print(f"{args.out}: {out.shape[0]} frames, {out.min():.2f} .. {out.max():.2f} °C")


if __name__ == "__main__":
    main()
