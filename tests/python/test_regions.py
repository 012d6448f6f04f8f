"""radimo.Region, region_stats and time_series against NumPy on the same pixels, the regions file round trip,
and the refusals."""
import numpy as np
import pytest

import radimo

RNG = np.random.default_rng(17)


def polygon_pixels(points, shape):
    """The even-odd rule, written with NumPy: left and top edges in, right and bottom out."""
    y, x = np.mgrid[0:shape[0], 0:shape[1]]
    inside = np.zeros(shape, dtype=bool)
    p = np.asarray(points, dtype=float)
    for (x0, y0), (x1, y1) in zip(np.roll(p, 1, axis=0), p):
        with np.errstate(divide="ignore", invalid="ignore"):
            inside ^= ((y0 > y) != (y1 > y)) & (x < x0 + (y - y0) * (x1 - x0) / (y1 - y0))
    return inside


def last_position(frame, inside, value):
    ys, xs = np.nonzero(inside & (frame == value))
    return int(xs[-1]), int(ys[-1])


@pytest.mark.parametrize("region_of", [
    lambda s: (radimo.Region.polygon([(3.5, 2), (40, 5), (22, 30), (30, 12)]),  # concave
               polygon_pixels([(3.5, 2), (40, 5), (22, 30), (30, 12)], s)),
    lambda s: (radimo.Region.ellipse(20, 15, 9.5, 6), ((np.mgrid[0:s[0], 0:s[1]][1] - 20) / 9.5) ** 2 +
               ((np.mgrid[0:s[0], 0:s[1]][0] - 15) / 6) ** 2 <= 1),
    lambda s: (radimo.Region.rect(-3, 28, 10, 10), np.pad(np.ones((4, 7), bool), ((28, 0), (0, s[1] - 7)))),
    lambda s: (radimo.Region.mask(m := RNG.random(s) < 0.3), m),
])
def test_statistics_equal_numpy_on_the_same_pixels(region_of):
    frame = RNG.integers(4000, 6000, size=(32, 45)).astype(np.uint16)
    frame[5, 20] = frame[25, 22] = 7000  # a tie at the maximum, where the region holds both
    region, inside = region_of(frame.shape)
    values = frame[inside]
    s = radimo.region_stats(frame, region, percentiles=(0, 5, 50, 95, 100), bins=4, above=5500, below=4200)
    assert s.count == values.size
    assert (s.max, s.min) == (values.max(), values.min())
    assert s.max_at == last_position(frame, inside, values.max())
    assert s.min_at == last_position(frame, inside, values.min())
    assert s.mean == pytest.approx(values.mean(), rel=1e-12)
    assert s.std == pytest.approx(values.std(), rel=1e-9)
    for p, v in s.percentiles.items():
        assert v == np.percentile(values, p)
    counts, edges = s.histogram
    assert counts.tolist() == np.histogram(values, edges)[0].tolist()
    assert (s.above, s.below) == (np.count_nonzero(values > 5500), np.count_nonzero(values < 4200))
    assert region.bounds(frame.shape)[2] == values.size


def test_kelvin16_frames_give_degc_and_a_region_scene_gives_object_temperatures(correct_table):
    frame = RNG.integers(4700, 5300, size=(24, 30)).astype(np.uint16)  # about 20 .. 58 degC
    region = radimo.Region.ellipse(15, 12, 8, 6, name="pipe")
    apparent = radimo.region_stats(frame, region, unit="kelvin16")
    raw = radimo.region_stats(frame, region)
    assert apparent.max == pytest.approx(raw.max / 16 - 273.15)
    assert apparent.std == pytest.approx(raw.std / 16)
    scene = radimo.Scene(dist=2.0, ems=0.95, hum=0.5, ta=20.0, tu=20.0)
    low_ems = radimo.region_stats(frame, region.with_scene(ems=0.7), unit="kelvin16", correct_table=correct_table,
                                  scene=scene, bins=3, above=40.0)
    same = radimo.region_stats(frame, region, unit="kelvin16", correct_table=correct_table, scene=scene)
    assert low_ems.object and low_ems.count == apparent.count
    assert low_ems.max > same.max > apparent.min  # a lower emissivity reads hotter objects
    assert low_ems.max_at == apparent.max_at
    assert sum(low_ems.histogram[0]) == low_ems.count and 0 < low_ems.above <= low_ems.count
    assert radimo.delta_t(low_ems, same)["mean"] > 0
    with pytest.raises(ValueError, match="correct_table"):
        radimo.region_stats(frame, region.with_scene(ems=0.7), unit="kelvin16")


def test_time_series_is_region_stats_per_frame_and_a_dataframe():
    stack = RNG.integers(4000, 6000, size=(5, 20, 25)).astype(np.uint16)
    regions = [radimo.Region.rect(2, 2, 10, 8, name="box"), radimo.Region.polygon([(0, 0), (25, 0), (0, 20)])]
    table = radimo.time_series(stack, regions, fps=10, percentiles=(50,))
    assert table["time"].tolist() == [0.0, 0.1, 0.2, 0.3, 0.4]
    for i, frame in enumerate(stack):
        s = radimo.region_stats(frame, regions[1], percentiles=(50,))
        assert (table["R2.max"][i], table["R2.mean"][i], table["R2.p50"][i]) == (s.max, s.mean, s.percentiles[50])
        assert (table["box.max_x"][i], table["box.max_y"][i]) == radimo.region_stats(frame, regions[0]).max_at
    # A Frame of several frames is measured one frame at a time, frame[i], never whole.
    frames = radimo.Frame(stack, "kelvin16")
    assert len(frames) == 5 and radimo.region_stats(frames[-1], regions[0], unit=None).max == \
        radimo.region_stats(stack[4], regions[0], unit="kelvin16").max
    with pytest.raises(ValueError, match=r"holds 5 frames: measure one of them, frame\[i\]"):
        radimo.region_stats(frames, regions[0])
    with pytest.raises(IndexError, match="frame 5 of a file of 5"):
        frames[5]
    pandas = pytest.importorskip("pandas")
    frame = radimo.time_series(stack, regions, dataframe=True)
    assert isinstance(frame, pandas.DataFrame) and len(frame) == 5 and "box.std" in frame


def test_regions_file_round_trip(tmp_path):
    regions = [radimo.Region.rect(1, 2, 3, 4, name="a", scene={"ems": 0.9}),
               radimo.Region.ellipse(5.5, 6, 2, 3, name="b"),
               radimo.Region.polygon([(0, 0), (4, 0), (2, 3.5)], name="c"),
               radimo.Region.mask(np.eye(6, 8), name="d")]
    radimo.write_regions(tmp_path / "regions.json", regions)
    back = radimo.read_regions(tmp_path / "regions.json")
    assert [r.to_json("m") for r in back] == [r.to_json("m") for r in regions]
    assert back[3].mask_array.tolist() == (np.eye(6, 8) != 0).tolist()
    (tmp_path / "bad.json").write_text('{"regions": [{"shape": "star"}]}')
    with pytest.raises(ValueError, match="unknown shape"):
        radimo.read_regions(tmp_path / "bad.json")


def test_bad_regions_are_refused():
    frame = np.full((10, 10), 5000, dtype=np.uint16)
    with pytest.raises(ValueError, match="at least 1"):
        radimo.Region.rect(0, 0, 0, 2)
    with pytest.raises(ValueError, match="finite"):
        radimo.Region.ellipse(np.nan, 1, 1, 1)
    with pytest.raises(ValueError, match="3 .. 65536"):
        radimo.Region.polygon([(0, 0), (1, 1)])
    with pytest.raises(ValueError, match="unknown scene field"):
        radimo.Region.rect(0, 0, 1, 1, scene={"emissivity": 0.9})
    with pytest.raises(radimo.RadimoError, match="region has no pixel inside the frame"):
        radimo.region_stats(frame, radimo.Region.ellipse(-5, -5, 1, 1))
    with pytest.raises(ValueError, match="shape"):
        radimo.region_stats(frame, radimo.Region.mask(np.ones((3, 3))))
