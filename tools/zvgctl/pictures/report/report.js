"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const colours = { write: "#c2410c", read: "#1d4ed8" };
  const chartHeight = 118;
  // Charts are made a few at a time, so that the page answers meanwhile.
  const portsAtATime = 3;

  // Text never becomes markup: names and problems come from files.
  const element = (name, attributes = {}, ...content) => {
    const made = Object.assign(document.createElement(name), attributes);
    made.append(...content);
    return made;
  };
  const byId = (id) => document.getElementById(id);
  const grouped = (value) => value.toLocaleString("en-US", { maximumFractionDigits: 1 });
  const brief = (value) => {
    for (const [size, unit] of [[1e9, "G"], [1e6, "M"], [1e3, "k"]]) {
      if (Math.abs(value) >= size) return +(value / size).toPrecision(3) + unit;
    }
    return String(+value.toPrecision(3));
  };
  const isWrite = (series) => series.name.startsWith("write");
  const plural = (count, word) => grouped(count) + " " + word + (count === 1 ? "" : "s");

  // The times 3, 4, 5, 9 as "3 to 5, 9".
  const ranges = (times, most) => {
    const parts = [];
    for (let i = 0; i < times.length;) {
      let end = i;
      while (end + 1 < times.length && times[end + 1] === times[end] + 1) ++end;
      parts.push(end === i ? String(times[i]) : times[i] + " to " + times[end]);
      i = end + 1;
    }
    const more = parts.length - most;
    return parts.slice(0, most).join(", ") + (more > 0 ? " and " + more + " more" : "");
  };

  const late = data.ports.filter((port) => port.timeouts.length > 0);
  const thinned = data.ports.filter((port) => port.each > 1);
  const samples = Math.max(...data.ports.map((port) => port.samples));

  const showHead = () => {
    byId("what").textContent =
      data.source + ": " + plural(data.ports.length, "port") + ", up to " + plural(samples, "sample");
  };

  const note = (kind, title, lines) => {
    const box = element("div", { className: "note " + kind }, element("p", {}, title));
    if (lines.length > 0) {
      box.append(element("ul", {}, ...lines.map((line) => element("li", {}, line))));
    }
    byId("notes").append(box);
  };

  const showNotes = () => {
    if (late.length > 0) {
      note("bad", "The timeout bit was set on " + plural(late.length, "port") + ":",
        late.map((port) => element("span", {},
          element("a", { href: "#port-" + port.name }, port.name),
          " in " + plural(port.timeouts.length, "sample") + ": " + ranges(port.timeouts, 12))));
    } else {
      note("plain", "No port had its timeout bit set.", []);
    }
    if (data.problems.length > 0) {
      const shown = data.problems.slice(0, 20);
      const more = data.problems.length - shown.length;
      if (more > 0) shown.push("and " + more + " more");
      note("warning", "The tables are not whole:", shown);
    }
    if (thinned.length > 0) {
      const each = Math.max(...thinned.map((port) => port.each));
      note("plain", "There are more samples than a chart can show: curves go through the mean of every " +
        each + " samples, in a band from the lowest to the highest of them. Totals count them all.", []);
    }
  };

  const showTitles = () => {
    byId("ports").append(element("div", { className: "titles" }, element("span"),
      ...data.charts.map((chart) => element("span", {},
        element("b", {}, chart.title), " " + chart.unit))));
  };

  // Samples with a timeout, as bands behind the curves.
  const timeoutBands = (port) => (chart) => {
    const { ctx, bbox } = chart;
    ctx.save();
    ctx.fillStyle = "#fecaca";
    for (const time of port.timeouts) {
      if (time < chart.scales.x.min || time > chart.scales.x.max) continue;
      const left = chart.valToPos(time - 0.5, "x", true);
      const right = chart.valToPos(time + 0.5, "x", true);
      ctx.fillRect(Math.max(left, bbox.left), bbox.top, Math.max(right - left, 2), bbox.height);
    }
    ctx.restore();
  };

  const charts = [];

  // Values between gaps, which no line would show.
  const loners = (chart, series) => {
    const values = chart.data[series];
    const missing = (value) => value === null || value === undefined;
    return values.flatMap((value, i) =>
      !missing(value) && missing(values[i - 1]) && missing(values[i + 1]) ? [i] : []);
  };

  // A curve that was thinned is three: the lowest and the highest of its samples, which only bound a
  // band, and the mean. A highest value has no use for a mean.
  const lines = (series, curve) => {
    const isHighest = series.name.endsWith("highest");
    const colour = colours[isWrite(series) ? "write" : "read"];
    const line = {
      label: series.name, stroke: colour + (isHighest ? "88" : ""), width: isHighest ? 1 : 1.6,
    };
    if (Array.isArray(curve)) return [{ line, values: curve }];
    if (isHighest) return [{ line, values: curve.high }];
    const edge = { stroke: "transparent", points: { show: false } };
    return [
      { line: edge, values: curve.high, fill: colour + "26" },
      { line: edge, values: curve.low },
      { line, values: curve.mean },
    ];
  };

  const draw = (place, port, chart, curves) => {
    const shown = chart.series
      .map((series, i) => ({ series, curve: curves[i] }))
      .filter(({ curve }) => curve !== null);
    const drawn = shown.flatMap(({ series, curve }) => lines(series, curve));
    const bands = drawn.flatMap(({ fill }, i) => fill ? [{ series: [i + 1, i + 2], fill }] : []);
    const readout = element("div", { className: "readout" });
    const options = {
      width: place.clientWidth,
      height: chartHeight,
      cursor: { sync: { key: "time", setSeries: false }, points: { size: 5 }, y: false },
      legend: { show: false },
      scales: {
        x: { time: false },
        y: { range: (chart, low, high) => [0, high > 0 ? high * 1.08 : 1] },
      },
      axes: [
        { size: 22, gap: 2, font: "11px sans-serif", stroke: "#6b7280", grid: { stroke: "#eef0f3" },
          ticks: { size: 3 } },
        { size: 46, gap: 3, font: "11px sans-serif", stroke: "#6b7280", grid: { stroke: "#eef0f3" },
          ticks: { size: 3 }, space: 26, values: (chart, ticks) => ticks.map(brief) },
      ],
      series: [{}, ...drawn.map(({ line }) =>
        ({ points: { show: true, size: 4, filter: loners }, spanGaps: false, ...line }))],
      bands,
      hooks: {
        drawClear: [timeoutBands(port)],
        setCursor: [(chart) => {
          const at = chart.cursor.idx;
          readout.replaceChildren();
          if (at === null || at === undefined) return;
          readout.append("#" + Math.floor(chart.data[0][at]));
          drawn.forEach(({ line, values }) => {
            if (!line.label) return;
            const value = values[at];
            readout.append(" ", element("span", { className: isWrite({ name: line.label }) ? "w" : "r" },
              line.label + " " + (value === null ? "–" : brief(value))));
          });
        }],
      },
    };
    const made = new uPlot(options, [port.times, ...drawn.map(({ values }) => values)], place);
    made.over.append(readout);
    charts.push({ made, place });
    return shown.length;
  };

  const showPort = (port) => {
    const title = element("h3", {}, port.name, element("small", {}, plural(port.samples, "sample")));
    if (port.timeouts.length > 0) {
      title.append(element("small", {}, element("b", {}, plural(port.timeouts.length, "timeout"))));
    }
    const row = element("div", {
      className: "port" + (port.timeouts.length > 0 ? " late" : ""), id: "port-" + port.name,
    }, title);
    const places = data.charts.map(() => element("div", { className: "chart" }));
    row.append(...places);
    byId("ports").append(row);
    if (port.samples === 0) {
      places[0].append(element("p", { className: "nothing" }, "no sample had new data"));
      return;
    }
    let curves = 0;
    data.charts.forEach((chart, i) => { curves += draw(places[i], port, chart, port.curves[i]); });
    row.dataset.curves = curves;
  };

  const showTotals = () => {
    const head = ["port", "samples", "timeouts", ...data.totals];
    byId("totals").append(
      element("thead", {}, element("tr", {}, ...head.map((title) => element("th", {}, title)))),
      element("tbody", {}, ...data.ports.map((port) => element("tr",
        { className: port.timeouts.length > 0 ? "late" : "" },
        ...[port.name, port.samples, port.timeouts.length, ...port.totals].map((value) =>
          element("td", {}, typeof value === "number" ? grouped(value) : value ?? "–"))))));
  };

  const showSources = () => {
    byId("sources").append(element("ul", {}, ...data.charts.map((chart) =>
      element("li", {}, chart.title + " (" + chart.unit + "): " +
        chart.series.map((series) => series.name + " is " + series.columns).join("; ")))));
  };

  const showPorts = (first) => {
    data.ports.slice(first, first + portsAtATime).forEach(showPort);
    if (first + portsAtATime < data.ports.length) {
      setTimeout(() => showPorts(first + portsAtATime), 0);
    } else {
      document.body.dataset.done = charts.length;
    }
  };

  let resizing;
  addEventListener("resize", () => {
    clearTimeout(resizing);
    resizing = setTimeout(() => charts.forEach(({ made, place }) =>
      made.setSize({ width: place.clientWidth, height: chartHeight })), 150);
  });

  showHead();
  showNotes();
  showTitles();
  showTotals();
  showSources();
  showPorts(0);
})();
