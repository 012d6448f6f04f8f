// radimo view: the page. Plain script, no framework, nothing loaded from elsewhere: every request
// goes back to the radimo process that served this page, with the page's token.
'use strict';

(() => {
  const token = document.querySelector('meta[name="radimo-token"]').content;
  const $ = (id) => document.getElementById(id);
  const SVG = 'http://www.w3.org/2000/svg';
  const KELVIN = 273.15;

  // ---- Requests --------------------------------------------------------------------------------

  function apiUrl(path, params) {
    const query = new URLSearchParams(params || []);
    query.set('token', token);
    return `${path}?${query}`;
  }

  async function fetchJson(path, params, options) {
    const response = await fetch(apiUrl(path, params), options);
    const body = await response.json().catch(() => ({ error: `HTTP ${response.status}` }));
    if (!response.ok) throw Object.assign(new Error(body.error || `HTTP ${response.status}`), { status: response.status });
    return body;
  }

  // The shown temperature of pixel i in degC, exactly the library's float value.
  function celsiusAt(frame, i) {
    const v = frame.samples[i];
    return frame.divisor ? Math.fround(v / frame.divisor - KELVIN) : v;
  }

  // The kinds of tool in the order `radimo measure` reports them, and their labels' letters.
  const KINDS = ['point', 'line', 'rect', 'polygon', 'ellipse'];
  const LETTERS = { point: 'P', line: 'L', rect: 'R', polygon: 'G', ellipse: 'E' };

  // The tools measured (a polygon being drawn is not yet), as indices into state.tools in the
  // order of the server's results.
  function measuredOrder() {
    const order = [];
    for (const kind of KINDS) state.tools.forEach((t, i) => { if (t.kind === kind && !t.open) order.push(i); });
    return order;
  }

  // Tools as the server's query takes them (--point, --line, --rect, --polygon, --ellipse).
  function toolParams(params) {
    for (const i of measuredOrder()) params.push([state.tools[i].kind, toolText(state.tools[i])]);
    return params;
  }

  // What was asked for, to match the answer with the tools as they are when it comes.
  function askedTools() {
    return measuredOrder().map((i) => `${state.tools[i].kind}=${toolText(state.tools[i])}`);
  }

  function toolText(t) {
    if (t.kind === 'point') return `${t.x},${t.y}`;
    if (t.kind === 'line') return `${t.x0},${t.y0},${t.x1},${t.y1}`;
    if (t.kind === 'polygon') return t.points.map((p) => `${p.x},${p.y}`).join(',');
    // An ellipse is kept as the box of pixels it is inscribed in; pixel centres are the library's
    // coordinates, so its centre is the box's middle pixel and its radii half the box.
    if (t.kind === 'ellipse') return `${t.x + (t.w - 1) / 2},${t.y + (t.h - 1) / 2},${t.w / 2},${t.h / 2}`;
    return `${t.x},${t.y},${t.w},${t.h}`;
  }

  // ---- State -----------------------------------------------------------------------------------

  const state = {
    info: null,
    palettes: new Map(),  // name -> { colours: Uint32Array(1024) as ABGR, rgb: [[r,g,b]...], highlight }
    palette: 'ironbow',
    autoRange: true,
    range: [0, 1],
    isotherm: null,
    showExtremes: true,
    frame: null,
    index: 0,
    count: 0,
    live: false,
    playing: false,
    fps: 10,
    tools: [],       // { kind, x, y | x0, y0, x1, y1 | x, y, w, h | points, open; result }
    selected: -1,
    mode: 'select',
    zoom: 1, panX: 0, panY: 0, fitted: true,
    drag: null,
    hover: null,     // frame pixel under the cursor
    rubber: null,    // the pixel a polygon being drawn would take next
    latency: [],     // live: milliseconds from the frame's arrival at the server to the screen
    shownTimes: [],  // times frames were shown, for the frame rate
    history: [],     // the frames shown lately: index, arrival, time shown, first samples
    measureTimes: [],  // milliseconds of the latest tool measurements, asked to answered
  };

  // ---- Colours ---------------------------------------------------------------------------------

  function parsePalette(p) {
    const n = p.colours.length / 6;
    const abgr = new Uint32Array(n);
    const rgb = [];
    for (let i = 0; i < n; i++) {
      const r = parseInt(p.colours.substr(6 * i, 2), 16);
      const g = parseInt(p.colours.substr(6 * i + 2, 2), 16);
      const b = parseInt(p.colours.substr(6 * i + 4, 2), 16);
      abgr[i] = (0xff000000 | (b << 16) | (g << 8) | r) >>> 0;
      rgb.push([r, g, b]);
    }
    const h = p.highlight;
    const hr = parseInt(h.substr(0, 2), 16), hg = parseInt(h.substr(2, 2), 16), hb = parseInt(h.substr(4, 2), 16);
    return { abgr, rgb, highlight: (0xff000000 | (hb << 16) | (hg << 8) | hr) >>> 0, highlightCss: `#${h}` };
  }

  // The scale in force: float32 ends, as the renderer holds them.
  function currentRange() {
    const r = state.autoRange && state.frame ? state.frame.meta.automatic : state.range;
    return [Math.fround(r[0]), Math.fround(r[1])];
  }

  function currentIsotherm() {
    return state.isotherm ? [Math.fround(state.isotherm[0]), Math.fround(state.isotherm[1])] : null;
  }

  // The renderer's colour of a temperature: palette level round(t * (levels - 1)), t clamped to 0..1.
  function colourOf(c, lo, span, iso, palette) {
    if (!Number.isFinite(c)) return 0;
    if (iso && c >= iso[0] && c <= iso[1]) return palette.highlight;
    const t = (c - lo) / span;
    const last = palette.abgr.length - 1;
    if (!(t > 0)) return palette.abgr[0];
    if (t >= 1) return palette.abgr[last];
    return palette.abgr[Math.round(t * last)];
  }

  // The colours of 16-bit samples, one per value, filled for the values frames have held so far
  // under the same palette, scale and isotherm.
  const lut = { key: '', table: new Uint32Array(65536), lo: 1, hi: 0 };

  function sampleSpan(samples) {
    let lo = 65535, hi = 0;
    for (let i = 0; i < samples.length; i++) {
      const v = samples[i];
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    }
    return [lo, hi];
  }

  let picture = null;

  function paintFrame() {
    const frame = state.frame;
    if (!frame) return;
    const canvas = $('view');
    if (canvas.width !== frame.width || canvas.height !== frame.height) {
      canvas.width = frame.width;
      canvas.height = frame.height;
      $('overlay').setAttribute('viewBox', `0 0 ${frame.width} ${frame.height}`);
      $('overlay').setAttribute('width', frame.width);
      $('overlay').setAttribute('height', frame.height);
      if (state.fitted) fit();
    }
    const palette = state.palettes.get(state.palette);
    const [lo, hi] = currentRange();
    const span = hi - lo;
    const iso = currentIsotherm();
    const ctx = canvas.getContext('2d');
    // One picture buffer, reused while the size stays (a live stream would make one per frame).
    if (!picture || picture.width !== frame.width || picture.height !== frame.height) {
      picture = ctx.createImageData(frame.width, frame.height);
      picture.out = new Uint32Array(picture.data.buffer);
    }
    const image = picture, out = picture.out;
    const n = frame.width * frame.height;
    if (frame.divisor) {
      // 16-bit samples: one colour per possible value, then a lookup per pixel.
      const key = `${state.palette}|${lo}|${hi}|${iso}|${frame.divisor}`;
      if (key !== lut.key) Object.assign(lut, { key, lo: 1, hi: 0 });
      const [first, last] = frame.span || (frame.span = sampleSpan(frame.samples));
      const empty = lut.lo > lut.hi;
      const from = empty ? first : Math.min(first, lut.lo), to = empty ? last : Math.max(last, lut.hi);
      for (let v = from; v <= to; v++) {
        if (!empty && v === lut.lo) { v = lut.hi; continue; }  // filled already
        lut.table[v] = colourOf(Math.fround(v / frame.divisor - KELVIN), lo, span, iso, palette);
      }
      lut.lo = from;
      lut.hi = to;
      const s = frame.samples, table = lut.table;
      for (let i = 0; i < n; i++) out[i] = table[s[i]];
    } else {
      const s = frame.samples;
      for (let i = 0; i < n; i++) {
        const c = s[i];
        out[i] = Number.isFinite(c) ? colourOf(c, lo, span, iso, palette) : ((((i % frame.width) >> 2) + ((i / frame.width) >> 2)) & 1 ? 0xff76706e : 0xff524e4e);
      }
    }
    ctx.putImageData(image, 0, 0);
    drawColourBar();
    drawHistogram();
    drawOverlay();
    updateRangeInputs();
  }

  // ---- Colour bar and histogram ----------------------------------------------------------------

  function niceStep(span, maxTicks) {
    const raw = span / maxTicks;
    const power = Math.pow(10, Math.floor(Math.log10(raw)));
    for (const m of [1, 2, 5, 10]) if (m * power >= raw) return m * power;
    return 10 * power;
  }

  function decimals(step) {
    return Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
  }

  let barKey = '';

  function drawColourBar() {
    const bar = $('colourbar');
    const box = $('scalebar').getBoundingClientRect();
    const key = `${state.palette}|${currentRange()}|${currentIsotherm()}|${box.width}x${box.height}|${!!state.frame}`;
    if (key === barKey) return;
    barKey = key;
    const ratio = window.devicePixelRatio || 1;
    bar.width = Math.round(box.width * ratio);
    bar.height = Math.round(box.height * ratio);
    bar.style.width = `${box.width}px`;
    bar.style.height = `${box.height}px`;
    const ctx = bar.getContext('2d');
    ctx.setTransform(ratio, 0, 0, ratio, 0, 0);
    ctx.clearRect(0, 0, box.width, box.height);
    const palette = state.palettes.get(state.palette);
    if (!palette || !state.frame) return;
    const [lo, hi] = currentRange();
    const iso = currentIsotherm();
    const top = 22, bottom = box.height - 22, x = 10, w = 18;
    const height = bottom - top;
    for (let y = 0; y < height; y++) {
      const c = hi - (hi - lo) * (y + 0.5) / height;
      const inIso = iso && c >= iso[0] && c <= iso[1];
      const rgb = inIso ? null : palette.rgb[Math.round(Math.min(1, Math.max(0, (c - lo) / (hi - lo))) * (palette.rgb.length - 1))];
      ctx.fillStyle = inIso ? palette.highlightCss : `rgb(${rgb[0]},${rgb[1]},${rgb[2]})`;
      ctx.fillRect(x, top + y, w, 1.5);
    }
    ctx.strokeStyle = '#666';
    ctx.strokeRect(x - 0.5, top - 0.5, w + 1, height + 1);
    ctx.fillStyle = '#e8e8ec';
    ctx.font = '11px "DejaVu Sans", sans-serif';
    ctx.textBaseline = 'middle';
    const step = niceStep(hi - lo, Math.max(2, Math.floor(height / 40)));
    const digits = decimals(step);
    for (let v = Math.ceil(lo / step) * step; v <= hi + 1e-9; v += step) {
      const y = top + (hi - v) / (hi - lo) * height;
      ctx.fillRect(x + w, y, 4, 1);
      ctx.fillText(v.toFixed(digits), x + w + 7, y);
    }
    ctx.fillStyle = '#9a9aa6';
    ctx.textBaseline = 'alphabetic';
    ctx.fillText(`${hi.toFixed(1)} °C`, 4, 14);
    ctx.textBaseline = 'top';
    ctx.fillText(`${lo.toFixed(1)} °C`, 4, bottom + 6);
  }

  let histogramDrawn = 0, histogramLater = 0;

  // While frames play, at most five histograms a second; a frame that comes sooner gets its
  // histogram when the 200 ms are up, so the last frame shown (the end of a stream, a pause) is
  // always the one the histogram counts.
  function drawHistogram() {
    const canvas = $('histogram');
    const frame = state.frame;
    const wait = 200 - (performance.now() - histogramDrawn);
    if (state.playing && wait > 0) {
      if (!histogramLater) histogramLater = setTimeout(() => { histogramLater = 0; drawHistogram(); }, wait);
      return;
    }
    clearTimeout(histogramLater);
    histogramLater = 0;
    histogramDrawn = performance.now();
    const ratio = window.devicePixelRatio || 1;
    const width = canvas.clientWidth, height = canvas.clientHeight;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    const ctx = canvas.getContext('2d');
    ctx.setTransform(ratio, 0, 0, ratio, 0, 0);
    ctx.clearRect(0, 0, width, height);
    if (!frame) return;
    const [lo, hi] = currentRange();
    const bins = 96;
    const counts = new Float64Array(bins);
    let below = 0, above = 0, valid = 0;
    const add = (c, k) => {
      if (!Number.isFinite(c)) return;
      valid += k;
      if (c < lo) below += k;
      else if (c > hi) above += k;
      else counts[Math.min(bins - 1, Math.floor((c - lo) / (hi - lo) * bins))] += k;
    };
    if (frame.divisor) {
      const [first, last] = frame.span || (frame.span = sampleSpan(frame.samples));
      const values = new Uint32Array(last - first + 1);
      for (const v of frame.samples) values[v - first]++;
      values.forEach((k, v) => { if (k) add(Math.fround((v + first) / frame.divisor - KELVIN), k); });
    } else {
      for (const c of frame.samples) add(c, 1);
    }
    const peak = Math.max(1, ...counts);
    const palette = state.palettes.get(state.palette);
    const iso = currentIsotherm();
    for (let b = 0; b < bins; b++) {
      const c = lo + (hi - lo) * (b + 0.5) / bins;
      const rgb = palette.rgb[Math.round((b + 0.5) / bins * (palette.rgb.length - 1))];
      ctx.fillStyle = iso && c >= iso[0] && c <= iso[1] ? palette.highlightCss : `rgb(${rgb[0]},${rgb[1]},${rgb[2]})`;
      const h = Math.sqrt(counts[b] / peak) * (height - 4);
      ctx.fillRect(b * width / bins, height - h, width / bins + 0.5, h);
    }
    const share = (k) => (valid ? `${(100 * k / valid).toFixed(1)} %` : '–');
    $('histogram-axis').replaceChildren(
      span(`${lo.toFixed(1)} °C`, `below the range: ${share(below)} of the pixels`),
      span('pixels (square-root scale)'),
      span(`${hi.toFixed(1)} °C`, `above the range: ${share(above)} of the pixels`));
  }

  function span(text, title) {
    const s = document.createElement('span');
    s.textContent = text;
    if (title) s.title = title;
    return s;
  }

  // ---- Zoom and pan ----------------------------------------------------------------------------

  function applyTransform() {
    $('layer').style.transform = `translate(${state.panX}px, ${state.panY}px) scale(${state.zoom})`;
    $('zoom-level').textContent = state.fitted ? `fit ${Math.round(state.zoom * 100)} %` : `${Math.round(state.zoom * 100)} %`;
    drawOverlay();
  }

  function fit() {
    const frame = state.frame;
    if (!frame) return;
    const box = $('stage').getBoundingClientRect();
    const z = Math.min(box.width / frame.width, box.height / frame.height);
    // Large enlargements by whole multiples keep every frame pixel the same size on the screen.
    state.zoom = z >= 4 ? Math.floor(z) : z;
    state.panX = Math.round((box.width - frame.width * state.zoom) / 2);
    state.panY = Math.round((box.height - frame.height * state.zoom) / 2);
    state.fitted = true;
    applyTransform();
  }

  function zoomAt(factor, clientX, clientY) {
    const box = $('stage').getBoundingClientRect();
    const x = clientX - box.left, y = clientY - box.top;
    const zoom = Math.min(64, Math.max(0.05, state.zoom * factor));
    state.panX = x - (x - state.panX) * zoom / state.zoom;
    state.panY = y - (y - state.panY) * zoom / state.zoom;
    state.zoom = zoom;
    state.fitted = false;
    applyTransform();
  }

  // Frame coordinates (pixels, fractional) of a pointer event.
  function framePoint(event) {
    const box = $('stage').getBoundingClientRect();
    return { x: (event.clientX - box.left - state.panX) / state.zoom, y: (event.clientY - box.top - state.panY) / state.zoom };
  }

  function pixelOf(p) {
    const f = state.frame;
    return { x: Math.min(f.width - 1, Math.max(0, Math.floor(p.x))), y: Math.min(f.height - 1, Math.max(0, Math.floor(p.y))) };
  }

  function inside(p) {
    const f = state.frame;
    return f && p.x >= 0 && p.y >= 0 && p.x < f.width && p.y < f.height;
  }

  // ---- Readout ---------------------------------------------------------------------------------

  function showReadout() {
    const frame = state.frame;
    const p = state.hover;
    if (!frame || !p) {
      $('readout-temp').textContent = '—';
      $('readout-where').textContent = '';
      return;
    }
    const c = celsiusAt(frame, p.y * frame.width + p.x);
    $('readout-temp').textContent = Number.isFinite(c) ? `${c.toFixed(2)} °C` : 'no data';
    $('readout-where').textContent = `x ${p.x}, y ${p.y}`;
  }

  function showFacts() {
    const m = state.frame.meta;
    const parts = state.info.camera ? [`camera ${state.info.camera}`] : [];
    // How the temperatures came from the samples: the unit, where it was said, the conversion.
    const record = m.report && m.report.frames[0];
    const unit = record && record.derivation ? record.derivation : `${m.unit}${m.unit === 'nuc' ? ` (vtemp ${m.vtemp})` : ''}`;
    parts.push(`${m.width}x${m.height}`, unit);
    parts.push(m.scene_correct ? 'object temperatures (scene corrected)' : 'apparent temperatures');
    parts.push(`hottest pixel ${m.hottest.celsius.toFixed(2)} °C at (${m.hottest.x},${m.hottest.y})`);
    parts.push(`coldest pixel ${m.coldest.celsius.toFixed(2)} °C at (${m.coldest.x},${m.coldest.y})`);
    $('frame-facts').textContent = parts.join(' · ');
    // Doubts about the input (a unit that reads the values implausibly, byte-swapped samples...).
    const doubts = (m.report && m.report.warnings) || [];
    $('warnings').hidden = doubts.length === 0;
    $('warnings').replaceChildren(...doubts.map((text) => Object.assign(document.createElement('li'), { textContent: `warning: ${text}` })));
  }

  // ---- Tools on the picture --------------------------------------------------------------------

  // P1, L1, R1, G1, E1...: numbered per kind in the order drawn, as `radimo measure` numbers them.
  function toolLabels() {
    const counters = {};
    return state.tools.map((t) => `${LETTERS[t.kind]}${counters[t.kind] = (counters[t.kind] || 0) + 1}`);
  }

  // Results come back in measuredOrder() of the tools `asked` for; a tool moved since then has no
  // result until it is measured where it is now. True when a tool still waits.
  function assignResults(measurements, asked) {
    const order = measuredOrder();
    let stale = !measurements || !asked || measurements.length !== asked.length;
    state.tools.forEach((t) => { t.result = null; });
    if (!stale) {
      order.forEach((i, k) => {
        const t = state.tools[i];
        if (asked[k] === `${t.kind}=${toolText(t)}`) t.result = measurements[k];
        else stale = true;
      });
    }
    drawOverlay();
    showToolTable();
    return stale;
  }

  // What a tool's result shows: a spot's value; a line's and a box's largest and smallest 3x3 mean
  // (with positions) and average; an ellipse's and a polygon's hottest and coldest pixel and mean
  // (as `radimo render` labels them).
  function summary(t) {
    const r = t.result;
    if (!r) return null;
    if (t.kind === 'point') return { value: r.trimmed.value.celsius };
    if (t.kind === 'polygon' || t.kind === 'ellipse') {
      return { max: r.pixels.hottest, min: r.pixels.coldest, avg: r.pixels.mean.celsius };
    }
    return { max: r.trimmed.max, min: r.trimmed.min, avg: r.trimmed.avg.celsius };
  }

  function el(name, attributes, parent) {
    const e = document.createElementNS(SVG, name);
    for (const [k, v] of Object.entries(attributes)) e.setAttribute(k, v);
    if (parent) parent.appendChild(e);
    return e;
  }

  function fmt(c) {
    return `${c.toFixed(1)} °C`;
  }

  function labelText(t, label) {
    const r = summary(t);
    if (!r) return label;
    if (t.kind === 'point') return `${label} ${fmt(r.value)}`;
    if (t.kind === 'line') return `${label} max ${fmt(r.max.celsius)}`;
    return `${label} ${t.kind === 'rect' ? 'avg' : 'mean'} ${fmt(r.avg)}`;
  }

  function drawLabel(group, text, x, y, s) {
    const size = 12 * s;
    const t = el('text', { x: x + 4 * s, y: y - 4 * s, class: 'label', 'font-size': size }, null);
    t.textContent = text;
    const back = el('rect', { x: x + 1 * s, y: y - 4 * s - size, width: (text.length * 0.62 + 0.6) * size, height: size * 1.35, class: 'label-back', rx: 2 * s }, group);
    group.appendChild(t);
    return back;
  }

  function drawOverlay() {
    const svg = $('overlay');
    svg.replaceChildren();
    const frame = state.frame;
    if (!frame) return;
    const s = 1 / state.zoom;  // one screen pixel in frame pixels
    const labels = toolLabels();
    if (state.showExtremes) {
      for (const [which, cls] of [['hottest', 'hot'], ['coldest', 'cold']]) {
        const p = frame.meta[which];
        const g = el('g', {}, svg);
        const cx = p.x + 0.5, cy = p.y + 0.5, r = 7 * s;
        el('path', { d: `M${cx - 2 * r},${cy}h${r}M${cx + r},${cy}h${r}M${cx},${cy - 2 * r}v${r}M${cx},${cy + r}v${r}`, class: 'tool-halo' }, g);
        el('path', { d: `M${cx - 2 * r},${cy}h${r}M${cx + r},${cy}h${r}M${cx},${cy - 2 * r}v${r}M${cx},${cy + r}v${r}`, class: `extreme ${cls}` }, g);
        el('circle', { cx, cy, r, class: `extreme ${cls}` }, g);
      }
    }
    state.tools.forEach((t, i) => {
      const g = el('g', { class: `tool-group${i === state.selected ? ' selected' : ''}`, 'data-tool': i }, svg);
      let shape, handles = [], anchor;
      if (t.kind === 'point') {
        const cx = t.x + 0.5, cy = t.y + 0.5, r = 6 * s;
        const d = `M${cx - r * 1.8},${cy}h${r * 1.2}M${cx + r * 0.6},${cy}h${r * 1.2}M${cx},${cy - r * 1.8}v${r * 1.2}M${cx},${cy + r * 0.6}v${r * 1.2}`;
        el('path', { d, class: 'tool-halo' }, g);
        el('circle', { cx, cy, r, class: 'tool-halo' }, g);
        el('path', { d, class: 'tool' }, g);
        el('circle', { cx, cy, r, class: 'tool' }, g);
        shape = el('circle', { cx, cy, r: r * 1.8, class: 'tool-hit', 'data-part': 'body' }, g);
        anchor = [cx + r, cy - r];
      } else if (t.kind === 'line') {
        const a = { x1: t.x0 + 0.5, y1: t.y0 + 0.5, x2: t.x1 + 0.5, y2: t.y1 + 0.5 };
        el('line', { ...a, class: 'tool-halo' }, g);
        el('line', { ...a, class: 'tool' }, g);
        shape = el('line', { ...a, class: 'tool-hit', 'data-part': 'body' }, g);
        handles = [['a', a.x1, a.y1], ['b', a.x2, a.y2]];
        anchor = a.y1 <= a.y2 ? [a.x1, a.y1] : [a.x2, a.y2];
      } else if (t.kind === 'polygon') {
        // Vertices at pixel centres, as the library places them.
        const points = t.points.map((p) => `${p.x + 0.5},${p.y + 0.5}`).join(' ');
        const kind = t.open ? 'polyline' : 'polygon';
        el(kind, { points, class: 'tool-halo' }, g);
        el(kind, { points, class: 'tool' }, g);
        if (t.open && state.rubber) {
          const last = t.points[t.points.length - 1];
          const a = { x1: last.x + 0.5, y1: last.y + 0.5, x2: state.rubber.x + 0.5, y2: state.rubber.y + 0.5 };
          el('line', { ...a, class: 'tool rubber' }, g);
        }
        shape = el(kind, { points, class: 'tool-hit', 'data-part': 'body' }, g);
        handles = t.points.map((p, k) => [`v${k}`, p.x + 0.5, p.y + 0.5]);
        const top = t.points.reduce((a, b) => (b.y < a.y ? b : a));
        anchor = [top.x + 0.5, top.y + 0.5];
      } else {
        const a = { x: t.x, y: t.y, width: t.w, height: t.h };
        if (t.kind === 'ellipse') {
          const e = { cx: t.x + t.w / 2, cy: t.y + t.h / 2, rx: t.w / 2, ry: t.h / 2 };
          if (i === state.selected) el('rect', { ...a, class: 'tool-box' }, g);
          el('ellipse', { ...e, class: 'tool-halo' }, g);
          el('ellipse', { ...e, class: 'tool' }, g);
          shape = el('ellipse', { ...e, class: 'tool-hit', 'data-part': 'body' }, g);
        } else {
          el('rect', { ...a, class: 'tool-halo' }, g);
          el('rect', { ...a, class: 'tool' }, g);
          shape = el('rect', { ...a, class: 'tool-hit', 'data-part': 'body' }, g);
        }
        handles = [['nw', t.x, t.y], ['ne', t.x + t.w, t.y], ['sw', t.x, t.y + t.h], ['se', t.x + t.w, t.y + t.h]];
        anchor = [t.x, t.y];
      }
      shape.dataset.tool = i;
      const r = summary(t);
      if (r && t.kind !== 'point') {
        el('circle', { cx: r.max.x + 0.5, cy: r.max.y + 0.5, r: 3 * s, class: 'marker-max' }, g);
        el('circle', { cx: r.min.x + 0.5, cy: r.min.y + 0.5, r: 3 * s, class: 'marker-min' }, g);
      }
      for (const [part, hx, hy] of handles) {
        const h = el('circle', { cx: hx, cy: hy, r: 4 * s, class: 'handle', 'data-part': part }, g);
        h.dataset.tool = i;
      }
      drawLabel(g, labelText(t, labels[i]), anchor[0], anchor[1], s);
    });
  }

  function showToolTable() {
    const body = $('tools-table').tBodies[0];
    body.replaceChildren();
    const labels = toolLabels();
    state.tools.forEach((t, i) => {
      const row = body.insertRow();
      row.dataset.tool = i;
      if (i === state.selected) row.className = 'selected';
      const r = summary(t);
      const cells = [labels[i], whereText(t)];
      if (!r) cells.push(t.open ? 'drawing' : '…', '', '');
      else if (t.kind === 'point') cells.push(fmt(r.value), '', '');
      else cells.push(fmt(r.max.celsius), fmt(r.min.celsius), fmt(r.avg));
      cells.forEach((text, k) => {
        const cell = row.insertCell();
        cell.textContent = text;
        if (k === 1) cell.className = 'where';
      });
      if (t.result) row.dataset.result = JSON.stringify(t.result);
      const remove = document.createElement('button');
      remove.className = 'remove';
      remove.textContent = '×';
      remove.title = 'Remove this tool';
      remove.addEventListener('click', (e) => { e.stopPropagation(); removeTool(i); });
      row.insertCell().appendChild(remove);
      row.addEventListener('click', () => { state.selected = i; drawOverlay(); showToolTable(); });
    });
    $('tools-hint').hidden = state.tools.length > 0;
  }

  function whereText(t) {
    if (t.kind === 'point') return `(${t.x},${t.y})`;
    if (t.kind === 'line') return `(${t.x0},${t.y0})–(${t.x1},${t.y1})`;
    if (t.kind === 'polygon') return `${t.points.length} corners`;
    if (t.kind === 'ellipse') return `(${t.x + (t.w - 1) / 2},${t.y + (t.h - 1) / 2}) ${t.w}x${t.h}`;
    return `(${t.x},${t.y}) ${t.w}x${t.h}`;
  }

  function removeTool(i) {
    state.tools.splice(i, 1);
    state.selected = -1;
    measureTools();
  }

  // ---- Measuring -------------------------------------------------------------------------------

  let measuring = false, measureAgain = false;

  // The tools' statistics of the shown frame from the server: one request at a time, the newest
  // positions as soon as the previous answer is in (so dragging never queues stale requests).
  async function measureTools() {
    drawOverlay();
    showToolTable();
    if (liveWorker && askedTools().join('&') !== liveAsked) {
      // The stream is asked for again with changed tools once they rest (not at every step of a
      // drag, which the requests below follow meanwhile).
      liveAsked = askedTools().join('&');
      clearTimeout(liveToolsTimer);
      liveToolsTimer = setTimeout(() => liveWorker.postMessage({ tools: liveTools() }), 300);
    }
    if (!state.frame || state.tools.length === 0) return;
    if (measuring) { measureAgain = true; return; }
    measuring = true;
    try {
      do {
        measureAgain = false;
        const shown = state.frame.meta.index;
        const began = performance.now();
        const asked = askedTools();
        try {
          const report = await fetchJson('/api/measure', toolParams([['index', shown]]));
          keep(state.measureTimes, performance.now() - began, 100);
          if (state.frame.meta.index === shown || !state.live) assignResults(report.frames[0].measurements, asked);
        } catch (e) {
          if (e.status !== 410) setStatus(e.message, true);
        }
      } while (measureAgain);
    } finally {
      measuring = false;
    }
  }

  // ---- Frames ----------------------------------------------------------------------------------

  function keep(list, value, size) {
    list.push(value);
    while (list.length > size) list.shift();
  }

  let loading = false, wanted = null;

  function showDecoded(frame) {
    state.frame = frame;
    state.index = frame.meta.index;
    state.count = frame.meta.count;
    const received = frame.meta.received_ms;
    const began = performance.now();
    paintFrame();
    if (assignResults(frame.meta.report.frames[0].measurements, frame.asked) && state.tools.length) measureTools();
    showFacts();
    showReadout();
    updateCounter();
    keep(state.shownTimes, performance.now(), 30);
    if (received) keep(state.latency, Date.now() - received, 60);
    keep(state.history, { index: frame.meta.index, received_ms: received, shown_ms: Date.now(),
                          show_ms: performance.now() - began, first: Array.from(frame.samples.subarray(0, 4)) }, 600);
    if (state.live) showLiveStatus();
  }

  async function loadFrame(index) {
    wanted = index;
    if (loading) return;
    loading = true;
    try {
      while (wanted !== null) {
        const i = wanted;
        wanted = null;
        const asked = askedTools();
        const response = await fetch(apiUrl('/api/frame', toolParams([['index', i]])));
        if (!response.ok) {
          const body = await response.json().catch(() => ({}));
          setStatus(body.error || `frame ${i}: HTTP ${response.status}`, true);
          continue;
        }
        showDecoded(Object.assign(decodeFrame(await response.arrayBuffer()), { asked }));
        setStatus('');
      }
    } catch (e) {
      setStatus(`the server does not answer (${e.message})`, true);
    } finally {
      loading = false;
    }
  }

  function step(delta) {
    if (state.live || state.count === 0) return;
    setPlaying(false);
    loadFrame(Math.min(state.count - 1, Math.max(0, state.index + delta)));
  }

  function updateCounter() {
    const slider = $('frame-slider');
    if (state.live) {
      $('frame-counter').textContent = `frame ${state.index + 1} (live)`;
      slider.max = 0;
      slider.disabled = true;
    } else {
      $('frame-counter').textContent = `frame ${state.index + 1} / ${state.count}`;
      slider.max = Math.max(0, state.count - 1);
      slider.value = state.index;
      slider.disabled = state.count < 2;
    }
  }

  // Files: the next frame every 1/fps seconds, from the start again after the last.
  let playTimer = null;

  async function playFiles() {
    if (!state.playing) return;
    const started = performance.now();
    await loadFrame((state.index + 1) % Math.max(1, state.count));
    if (!state.playing) return;
    const delay = Math.max(0, 1000 / state.fps - (performance.now() - started));
    playTimer = setTimeout(playFiles, delay);
  }

  // Live: live.js receives the frames (off this thread, so drawing never holds the stream up) and
  // hands each one over as it comes; they are drawn in turn as soon as the page is free. A frame
  // that has waited here longer than LIVE_CATCH_UP_MS while a newer one is waiting is skipped, so
  // a short stall costs no frame and a slow page shows fewer frames but never falls behind.
  const LIVE_CATCH_UP_MS = 70;
  let liveWorker = null, liveDrawing = false, liveToolsTimer = null, liveAsked = '';
  const liveWaiting = [];  // { frame, at }: frames not drawn yet, oldest first

  function liveTools() {
    return { params: toolParams([]), asked: askedTools() };
  }

  function followLive() {
    if (!liveWorker) {
      liveWorker = new Worker(`live.js?token=${encodeURIComponent(token)}`);
      liveWorker.onmessage = (event) => onLiveAnswer(event.data);
      liveWorker.onerror = (event) => setStatus(`live frames: ${event.message}`, true);
    }
    liveAsked = askedTools().join('&');
    liveWorker.postMessage({ after: state.frame ? state.frame.meta.index : 'none', tools: liveTools(), run: true });
  }

  function onLiveAnswer(answer) {
    if (!state.playing) return;
    if (answer.ended) {
      drawLive();  // the last frame first
      setStatus(`stream ended: ${answer.ended}`, false);
      setPlaying(false);
    } else if (answer.error) {
      setStatus(answer.error, true);
    } else if (answer.frame) {
      liveWaiting.push({ frame: Object.assign(answer.frame, { live: true }), at: performance.now() });
      drawLiveSoon();
    }
  }

  function drawLiveSoon() {
    if (liveDrawing || !liveWaiting.length) return;
    liveDrawing = true;
    setTimeout(drawLive, 0);
  }

  function drawLive() {
    liveDrawing = false;
    const now = performance.now();
    while (liveWaiting.length > 1 && now - liveWaiting[0].at > LIVE_CATCH_UP_MS) handBack(liveWaiting.shift().frame);
    if (!liveWaiting.length) return;
    const before = state.frame;
    showDecoded(liveWaiting.shift().frame);
    if (before && before.live) handBack(before);
    drawLiveSoon();
  }

  // A live frame no longer shown gives its buffer back to live.js for a later frame.
  function handBack(frame) {
    const buffer = frame.samples.buffer;
    frame.samples = new frame.samples.constructor(0);
    liveWorker.postMessage({ spare: buffer }, [buffer]);
  }

  function showLiveStatus() {
    const t = state.shownTimes;
    const fps = t.length > 1 ? (1000 * (t.length - 1)) / (t[t.length - 1] - t[0]) : 0;
    const sorted = [...state.latency].sort((a, b) => a - b);
    const median = sorted.length ? sorted[Math.floor(sorted.length / 2)] : 0;
    const received = state.count;
    const ended = state.frame && state.frame.meta.ended ? ` · stream ended: ${state.frame.meta.ended}` : '';
    setStatus(`${fps.toFixed(1)} fps shown · ${received} received · latency ${median} ms${ended}`);
  }

  function setPlaying(on) {
    state.playing = on;
    $('play').querySelector('path').setAttribute('d', on ? 'M4 3h3v10H4zM9 3h3v10H9z' : 'M5 3l8 5-8 5z');
    $('play').classList.toggle('active', on);
    clearTimeout(playTimer);
    if (!on) {
      if (liveWorker) liveWorker.postMessage({ run: false });
      return;
    }
    if (state.live) followLive();
    else playFiles();
  }

  function setStatus(text, error) {
    $('status').textContent = text;
    $('status').classList.toggle('error', !!error);
  }

  // ---- Range, palette, isotherm ----------------------------------------------------------------

  function updateRangeInputs() {
    const [lo, hi] = currentRange();
    if (document.activeElement !== $('range-lo')) $('range-lo').value = lo.toFixed(1);
    if (document.activeElement !== $('range-hi')) $('range-hi').value = hi.toFixed(1);
  }

  function readPair(a, b) {
    const lo = parseFloat($(a).value), hi = parseFloat($(b).value);
    return Number.isFinite(lo) && Number.isFinite(hi) ? [lo, hi] : null;
  }

  function onRangeInput() {
    const pair = readPair('range-lo', 'range-hi');
    const good = pair && pair[0] < pair[1];
    $('range-lo').classList.toggle('bad', !good);
    $('range-hi').classList.toggle('bad', !good);
    if (!good) return;
    state.range = pair;
    state.autoRange = false;
    $('auto-range').checked = false;
    paintFrame();
  }

  function onIsothermInput() {
    const pair = readPair('iso-lo', 'iso-hi');
    const good = pair && pair[0] <= pair[1];
    $('iso-lo').classList.toggle('bad', !good && $('isotherm').checked);
    $('iso-hi').classList.toggle('bad', !good && $('isotherm').checked);
    state.isotherm = $('isotherm').checked && good ? pair : null;
    paintFrame();
  }

  function setPalette(name) {
    state.palette = name;
    $('palette').value = name;
    paintFrame();
  }

  // ---- Scene -----------------------------------------------------------------------------------

  const sceneNames = {
    emissivity: 'Emissivity', distance_m: 'Distance', humidity: 'Relative humidity',
    ambient_c: 'Ambient', reflected_c: 'Reflected',
  };

  // The scene fields, made once and then kept up to date (so a field being typed into stays).
  function showScene(scene) {
    const form = $('scene-fields');
    $('scene-correct').checked = scene.scene_correct;
    $('scene-correct').disabled = !scene.available;
    for (const f of scene.fields) {
      let input = $(`scene-${f.key}`);
      if (!input) {
        const label = document.createElement('label');
        label.htmlFor = `scene-${f.key}`;
        label.textContent = `${sceneNames[f.key] || f.key}${f.unit ? ` (${f.unit})` : ''}`;
        input = document.createElement('input');
        input.type = 'number';
        input.id = `scene-${f.key}`;
        input.min = f.lo;
        input.max = f.hi;
        input.step = 'any';
        input.title = `${f.lo} .. ${f.hi}${f.unit ? ` ${f.unit}` : ''}`;
        input.addEventListener('change', () => {
          const value = parseFloat(input.value);
          const good = Number.isFinite(value) && value >= f.lo && value <= f.hi;
          input.classList.toggle('bad', !good);
          if (good) changeScene({ [f.key]: value });
          else sceneMessage(`${label.textContent}: a number in ${input.title}`, true);
        });
        form.append(label, input);
      }
      if (f.value !== undefined) input.value = +f.value.toFixed(4);
      input.classList.remove('bad');
      input.disabled = !scene.available;
    }
    sceneMessage(scene.available ? '' : scene.reason, false);
  }

  function sceneMessage(text, error) {
    $('scene-message').textContent = text;
    $('scene-message').classList.toggle('error', error);
  }

  async function changeScene(change) {
    try {
      showScene(await fetchJson('/api/scene', null, {
        method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(change),
      }));
      reloadShown();
    } catch (e) {
      showScene(await fetchJson('/api/scene').catch(() => state.info.scene));
      sceneMessage(e.message, true);
    }
  }

  function reloadShown() {
    if (state.live) {
      if (!state.playing) loadFrame(state.index);
    } else {
      loadFrame(state.index);
    }
  }

  // ---- Exports ---------------------------------------------------------------------------------

  function download(path, params) {
    const a = document.createElement('a');
    a.href = apiUrl(path, params);
    a.download = '';
    document.body.appendChild(a);
    a.click();
    a.remove();
  }

  function pictureParams() {
    const params = toolParams([['index', state.index], ['palette', state.palette], ['download', 1]]);
    if (!state.autoRange) params.push(['range', currentRange().join(',')]);
    if (state.isotherm) params.push(['isotherm', state.isotherm.join(',')]);
    params.push(['crosshairs', state.showExtremes ? 1 : 0]);
    return params;
  }

  // ---- Pointer, wheel and keys -----------------------------------------------------------------

  function clampTool(t) {
    const f = state.frame;
    const cx = (v) => Math.min(f.width - 1, Math.max(0, v));
    const cy = (v) => Math.min(f.height - 1, Math.max(0, v));
    if (t.kind === 'point') { t.x = cx(t.x); t.y = cy(t.y); }
    if (t.kind === 'line') { t.x0 = cx(t.x0); t.y0 = cy(t.y0); t.x1 = cx(t.x1); t.y1 = cy(t.y1); }
    if (t.kind === 'polygon') for (const p of t.points) { p.x = cx(p.x); p.y = cy(p.y); }
    if (t.kind === 'rect' || t.kind === 'ellipse') {
      t.w = Math.min(f.width, Math.max(1, t.w));
      t.h = Math.min(f.height, Math.max(1, t.h));
      t.x = Math.min(f.width - t.w, Math.max(0, t.x));
      t.y = Math.min(f.height - t.h, Math.max(0, t.y));
    }
  }

  // A box from two corner pixels, both included.
  function boxOf(a, b) {
    return { x: Math.min(a.x, b.x), y: Math.min(a.y, b.y), w: Math.abs(a.x - b.x) + 1, h: Math.abs(a.y - b.y) + 1 };
  }

  // Ends a polygon being drawn: kept with three corners or more, else dropped; then `next` mode.
  function finishPolygon(next = 'select') {
    const i = state.tools.findIndex((t) => t.open);
    if (i >= 0) {
      const t = state.tools[i];
      state.rubber = null;
      if (t.points.length >= 3) {
        t.open = false;
        state.selected = i;
      } else {
        state.tools.splice(i, 1);
        state.selected = -1;
      }
    }
    state.mode = next;
    setMode(next);
    measureTools();
  }

  function setMode(mode) {
    if (mode !== 'polygon' && state.tools.some((t) => t.open)) return finishPolygon(mode);
    state.mode = mode;
    for (const b of document.querySelectorAll('button.mode')) b.classList.toggle('active', b.dataset.mode === mode);
    $('stage').style.cursor = mode === 'select' ? '' : 'crosshair';
  }

  function onPointerDown(event) {
    if (!state.frame || event.button !== 0) return;
    $('stage').focus();
    const p = framePoint(event);
    const target = event.target;
    const toolIndex = target.dataset && target.dataset.tool !== undefined ? +target.dataset.tool : -1;
    event.preventDefault();
    $('stage').setPointerCapture(event.pointerId);
    if (state.mode === 'select') {
      if (toolIndex >= 0) {
        state.selected = toolIndex;
        const t = state.tools[toolIndex];
        const original = { ...t, points: t.points && t.points.map((v) => ({ ...v })) };
        state.drag = { kind: 'tool', part: target.dataset.part, start: pixelOf(p), original };
        drawOverlay();
        showToolTable();
      } else {
        state.selected = -1;
        state.drag = { kind: 'pan', x: event.clientX, y: event.clientY, panX: state.panX, panY: state.panY };
        $('stage').classList.add('panning');
        drawOverlay();
        showToolTable();
      }
      return;
    }
    if (!inside(p)) return;
    const q = pixelOf(p);
    if (state.mode === 'polygon') {
      // A click adds a corner; a click on the first corner, a double click or Enter closes it.
      const open = state.tools.find((o) => o.open);
      if (!open) {
        state.tools.push({ kind: 'polygon', points: [q], open: true });
        state.selected = state.tools.length - 1;
      } else {
        const first = open.points[0], last = open.points[open.points.length - 1];
        const near = Math.hypot(first.x - p.x + 0.5, first.y - p.y + 0.5) * state.zoom <= 8;
        if (near && open.points.length >= 3) return finishPolygon();
        if (q.x !== last.x || q.y !== last.y) open.points.push(q);
      }
      state.rubber = q;
      drawOverlay();
      showToolTable();
      return;
    }
    let t;
    if (state.mode === 'point') t = { kind: 'point', x: q.x, y: q.y };
    if (state.mode === 'line') t = { kind: 'line', x0: q.x, y0: q.y, x1: q.x, y1: q.y };
    if (state.mode === 'rect' || state.mode === 'ellipse') t = { kind: state.mode, ...boxOf(q, q) };
    state.tools.push(t);
    state.selected = state.tools.length - 1;
    state.drag = state.mode === 'point' ? null : { kind: 'draw', start: q };
    if (state.mode === 'point') {
      setMode('select');
      measureTools();
    } else {
      drawOverlay();
    }
  }

  function onPointerMove(event) {
    if (!state.frame) return;
    const p = framePoint(event);
    state.hover = inside(p) ? pixelOf(p) : null;
    showReadout();
    const drag = state.drag;
    if (!drag && state.mode === 'polygon' && state.tools.some((t) => t.open)) {
      state.rubber = state.hover || pixelOf(p);
      drawOverlay();
    }
    if (!drag) return;
    if (drag.kind === 'pan') {
      state.panX = drag.panX + event.clientX - drag.x;
      state.panY = drag.panY + event.clientY - drag.y;
      state.fitted = false;
      applyTransform();
      return;
    }
    const q = pixelOf(p);
    const t = state.tools[state.selected];
    if (!t) return;
    if (drag.kind === 'draw') {
      if (t.kind === 'line') { t.x1 = q.x; t.y1 = q.y; }
      if (t.kind === 'rect' || t.kind === 'ellipse') Object.assign(t, boxOf(drag.start, q));
    } else {
      const o = drag.original;
      const dx = q.x - drag.start.x, dy = q.y - drag.start.y;
      if (drag.part === 'body') {
        if (t.kind === 'point') { t.x = o.x + dx; t.y = o.y + dy; }
        if (t.kind === 'rect' || t.kind === 'ellipse') { t.x = o.x + dx; t.y = o.y + dy; }
        // A line or polygon moves whole, its shape kept at the frame's edges.
        const f = state.frame;
        const shift = (xs, ys) => [
          Math.min(f.width - 1 - Math.max(...xs), Math.max(-Math.min(...xs), dx)),
          Math.min(f.height - 1 - Math.max(...ys), Math.max(-Math.min(...ys), dy))];
        if (t.kind === 'line') {
          const [mx, my] = shift([o.x0, o.x1], [o.y0, o.y1]);
          Object.assign(t, { x0: o.x0 + mx, y0: o.y0 + my, x1: o.x1 + mx, y1: o.y1 + my });
        }
        if (t.kind === 'polygon') {
          const [mx, my] = shift(o.points.map((v) => v.x), o.points.map((v) => v.y));
          t.points = o.points.map((v) => ({ x: v.x + mx, y: v.y + my }));
        }
      } else if (t.kind === 'polygon') {
        t.points[+drag.part.slice(1)] = q;
      } else if (t.kind === 'line') {
        if (drag.part === 'a') { t.x0 = q.x; t.y0 = q.y; } else { t.x1 = q.x; t.y1 = q.y; }
      } else {
        // Box and ellipse: the corner opposite the dragged one stays.
        const fixed = { x: drag.part.includes('w') ? o.x + o.w - 1 : o.x, y: drag.part.includes('n') ? o.y + o.h - 1 : o.y };
        Object.assign(t, boxOf(fixed, q));
      }
    }
    clampTool(t);
    measureTools();
  }

  function onPointerUp() {
    const drag = state.drag;
    state.drag = null;
    $('stage').classList.remove('panning');
    if (!drag || drag.kind === 'pan') return;
    const t = state.tools[state.selected];
    if (drag.kind === 'draw' && t) {
      const empty = (t.kind === 'line' && t.x0 === t.x1 && t.y0 === t.y1) || (t.w === 1 && t.h === 1);
      if (empty) {  // a click without a drag draws nothing
        state.tools.splice(state.selected, 1);
        state.selected = -1;
      }
      setMode('select');
    }
    measureTools();
  }

  function onKey(event) {
    const tag = event.target.tagName;
    if (tag === 'INPUT' || tag === 'SELECT') return;
    if (tag === 'BUTTON' && (event.key === ' ' || event.key === 'Enter')) return;  // the button's own click
    const keys = {
      ArrowRight: () => step(1), ArrowLeft: () => step(-1),
      Home: () => step(-Infinity), End: () => step(Infinity),
      ' ': () => setPlaying(!state.playing),
      Delete: () => { if (state.selected >= 0) removeTool(state.selected); },
      Backspace: () => { if (state.selected >= 0) removeTool(state.selected); },
      Escape: () => {
        const open = state.tools.findIndex((t) => t.open);
        if (open >= 0) state.tools.splice(open, 1);  // a polygon being drawn is dropped
        state.rubber = null;
        setMode('select');
        state.selected = -1;
        drawOverlay();
        showToolTable();
      },
      Enter: () => { if (state.tools.some((t) => t.open)) finishPolygon(); },
      '+': () => zoomAtCentre(1.25), '=': () => zoomAtCentre(1.25), '-': () => zoomAtCentre(0.8),
      0: () => fit(), 1: () => { zoomAtCentre(1 / state.zoom); },
      v: () => setMode('select'), s: () => setMode('point'), l: () => setMode('line'), b: () => setMode('rect'),
      g: () => setMode('polygon'), e: () => setMode('ellipse'),
      p: () => {
        const names = [...state.palettes.keys()];
        setPalette(names[(names.indexOf(state.palette) + 1) % names.length]);
      },
    };
    const action = keys[event.key];
    if (!action) return;
    event.preventDefault();
    action();
  }

  function zoomAtCentre(factor) {
    const box = $('stage').getBoundingClientRect();
    zoomAt(factor, box.left + box.width / 2, box.top + box.height / 2);
  }

  // ---- Start -----------------------------------------------------------------------------------

  function wire() {
    const stage = $('stage');
    stage.addEventListener('pointerdown', onPointerDown);
    stage.addEventListener('pointermove', onPointerMove);
    stage.addEventListener('pointerup', onPointerUp);
    stage.addEventListener('pointercancel', onPointerUp);
    stage.addEventListener('pointerleave', () => { if (!state.drag) { state.hover = null; showReadout(); } });
    stage.addEventListener('wheel', (e) => { e.preventDefault(); zoomAt(e.deltaY < 0 ? 1.25 : 0.8, e.clientX, e.clientY); }, { passive: false });
    stage.addEventListener('dblclick', () => { if (state.tools.some((t) => t.open)) finishPolygon(); else if (state.mode === 'select') fit(); });
    document.addEventListener('keydown', onKey);
    window.addEventListener('resize', () => { if (state.fitted) fit(); paintFrame(); });

    $('palette').addEventListener('change', () => setPalette($('palette').value));
    $('auto-range').addEventListener('change', () => {
      if (!$('auto-range').checked) state.range = currentRange();
      state.autoRange = $('auto-range').checked;
      paintFrame();
    });
    $('range-lo').addEventListener('change', onRangeInput);
    $('range-hi').addEventListener('change', onRangeInput);
    $('isotherm').addEventListener('change', onIsothermInput);
    $('iso-lo').addEventListener('change', onIsothermInput);
    $('iso-hi').addEventListener('change', onIsothermInput);
    $('extremes').addEventListener('change', () => { state.showExtremes = $('extremes').checked; drawOverlay(); });
    $('scene-fields').addEventListener('submit', (e) => e.preventDefault());
    $('scene-correct').addEventListener('change', () => changeScene({ scene_correct: $('scene-correct').checked }));
    for (const b of document.querySelectorAll('button.mode')) b.addEventListener('click', () => setMode(b.dataset.mode));

    $('first').addEventListener('click', () => step(-Infinity));
    $('previous').addEventListener('click', () => step(-1));
    $('next').addEventListener('click', () => step(1));
    $('play').addEventListener('click', () => setPlaying(!state.playing));
    $('frame-slider').addEventListener('input', () => { setPlaying(false); loadFrame(+$('frame-slider').value); });
    $('fps').addEventListener('change', () => {
      const fps = parseFloat($('fps').value);
      if (Number.isFinite(fps) && fps > 0) state.fps = fps;
    });

    $('export-png').addEventListener('click', () => download('/api/picture.png', pictureParams()));
    $('export-csv').addEventListener('click', () => download('/api/measure', toolParams([['index', state.index], ['format', 'csv'], ['download', 1]])));
    $('export-json').addEventListener('click', () => download('/api/measure', toolParams([['index', state.index], ['format', 'json'], ['download', 1]])));
  }

  async function start() {
    wire();
    try {
      const info = await fetchJson('/api/info');
      state.info = info;
      for (const p of info.palettes) {
        state.palettes.set(p.name, parsePalette(p));
        const option = document.createElement('option');
        option.value = option.textContent = p.name;
        $('palette').appendChild(option);
      }
      state.palette = info.settings.palette;
      $('palette').value = state.palette;
      if (info.settings.range) {
        state.range = info.settings.range;
        state.autoRange = false;
        $('auto-range').checked = false;
      }
      if (info.settings.isotherm) {
        state.isotherm = info.settings.isotherm;
        $('isotherm').checked = true;
        $('iso-lo').value = info.settings.isotherm[0];
        $('iso-hi').value = info.settings.isotherm[1];
      }
      state.fps = info.settings.fps;
      $('fps').value = state.fps;
      state.live = info.source.live;
      $('title').textContent = `radimo view · ${info.source.description}`;
      $('title').title = info.camera ? `camera: ${info.camera}` : 'no camera: the frames hold temperatures';
      document.title = `radimo view · ${info.source.description}`;
      showScene(info.scene);
      for (const id of ['first', 'previous', 'next']) $(id).disabled = state.live;
      if (state.live) {
        setPlaying(true);
      } else {
        await loadFrame(0);
      }
      fit();
    } catch (e) {
      $('message').hidden = false;
      $('message').className = 'error';
      $('message').textContent = `radimo view: ${e.message}`;
    }
  }

  window.radimoView = {
    // For scripts driving the page (the tests): the shown frame's facts and the live figures.
    shown: () => state.frame && state.frame.meta,
    latency: () => [...state.latency],
    timings: () => ({ frames: [...state.history], measures: [...state.measureTimes] }),
  };

  start();
})();
