
"use strict";
(() => {
  // A table comes as the names of its columns and its rows; here each row is an object.
  const named = ({ columns, rows }) =>
    rows.map(row => Object.fromEntries(columns.map((name, index) => [name, row[index]])));
  const data = JSON.parse(document.getElementById("data").textContent, (key, value) => value && value.columns ? named(value) : value);
  const colour = name => getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim();
  const dashes = [[], [8, 3], [3, 3], [10, 3, 3, 3]];
  const charts = [];

  const digits = value => String(+value.toPrecision(3));
  const time = us => us < 999.5 ? digits(us) + " µs"
    : us < 999500 ? digits(us / 1e3) + " ms" : digits(us / 1e6) + " s";
  const isDecade = value => Math.abs(Math.log10(value) - Math.round(Math.log10(value))) < 1e-6;
  const number = value => value.toLocaleString("en").replaceAll(",", "\u202f");
  const percent = value => digits(value) + " %";

  const axis = (title, text) => ({
    type: "linear", title: { display: true, text: title }, ticks: { maxRotation: 0, callback: text },
  });
  const logarithmic = (title, text, values) => {
    const steps = value => [1, 2, 5, 10].map(step => step * 10 ** Math.floor(Math.log10(value)));
    const some = values.filter(value => value > 0);
    const min = Math.max(...steps(Math.min(...some)).filter(step => step <= Math.min(...some) * 1.0001));
    const max = Math.min(...steps(Math.max(...some)).filter(step => step >= Math.max(...some) * 0.9999));
    const shown = max / min < 300 ? /^[125]/ : /^1/;
    return { ...axis(title, text), type: "logarithmic", min, max: Math.max(max, min * 2), ticks: {
      maxRotation: 0, autoSkip: false,
      callback: value => shown.test(value.toExponential(6)) ? text(value) : "" } };
  };

  const colourise = ({ options: { scales, plugins }, data: { datasets } }) => {
    for (const scale of Object.values(scales)) {
      scale.grid = { color: context => scale.type === "logarithmic" && context.tick
        && !isDecade(context.tick.value) ? "transparent" : colour("line"), borderColor: colour("line") };
      scale.ticks.color = scale.title.color = colour("quiet");
    }
    plugins.legend.labels.color = colour("ink");
    for (const set of datasets) {
      set.borderColor = set.pointBackgroundColor = colour(set.tone);
      set.backgroundColor = colour(set.tone) + (set.fill ? "40" : "");
    }
  };

  const draw = (id, datasets, x, y, legend, label) => {
    const canvas = document.getElementById(id);
    if (!datasets.some(set => set.data.some(point => point.y !== null))) return;
    canvas.parentElement.hidden = false;
    const details = canvas.parentElement.nextElementSibling;
    if (details) details.open = false;
    const config = {
      type: "line", data: { datasets },
      options: {
        animation: false, responsive: true, maintainAspectRatio: false, parsing: false,
        normalized: true, spanGaps: false, interaction: { mode: "nearest", intersect: false },
        elements: { point: { radius: 0, hitRadius: 8 }, line: { borderWidth: 2 } },
        scales: { x, y },
        plugins: {
          legend: { display: legend, position: "bottom",
            labels: { usePointStyle: true, boxHeight: 7,
            pointStyleWidth: datasets[0].pointStyle === "line" ? 24 : 8 } },
          tooltip: { callbacks: { title: () => "", label } },
        },
      },
    };
    colourise(config);
    charts.push(new Chart(canvas, config));
  };

  const overlay = runs => {
    const single = runs.length === 1;
    const each = make => runs.flatMap((run, index) => [].concat(make(run, index)).map(set => ({
      run: index, tone: "run" + index, borderDash: dashes[index % 4], pointStyle: "line", ...set,
      label: single ? set.label : run.label + ", " + set.label })));
    const tip = text => item => item.dataset.label + ": " + text(item.raw);

    const share = (run, count) => single ? count : 100 * count / run.timed;
    const floor = Math.min(...runs.map(run => share(run, 1))) / 2;
    draw("histogram", each(run => {
      const steps = [];
      run.bins.forEach(({ lowerUs: lower, upperUs: upper, count }, index) => {
        const before = run.bins[index - 1], follows = before && before.upperUs > lower * 0.999;
        if (!follows) steps.push({ x: before ? before.upperUs : lower, y: floor });
        if (!follows || single) steps.push({ x: lower, y: floor });
        for (const x of [lower, upper]) steps.push({ x, y: share(run, count), lower, upper, count });
      });
      if (steps.length) steps.push({ x: steps[steps.length - 1].x, y: floor });
      return { label: "round trips", fill: single && "start", borderWidth: 1.5, borderDash: [], data: steps };
    }), logarithmic("Round trip", time, runs.flatMap(run => run.bins.flatMap(bin => [bin.lowerUs, bin.upperUs]))),
    { ...logarithmic(single ? "Round trips" : "Share of the run's round trips", single ? number : percent,
      runs.flatMap(run => run.bins.map(bin => share(run, bin.count)))), min: floor }, false,
    item => item.raw.count === undefined ? "none"
      : item.dataset.label + ": " + number(item.raw.count) + " of " + time(item.raw.lower) + " to " + time(item.raw.upper));

    draw("tail", each(run => ({ label: "took longer", data: run.tail.map(({ oneIn, us }) => ({ x: oneIn, y: us })) })),
      logarithmic("1 ping in", number, runs.flatMap(run => run.tail.map(point => point.oneIn))),
      logarithmic("took longer than", time, runs.flatMap(run => run.tail.map(point => point.us))), false,
      tip(point => "1 in " + number(Math.round(point.x)) + " over " + time(point.y)));

    const seconds = value => number(value) + " s";
    const over = (run, column) => run.time.map(row => ({ x: row.start, y: row[column], lost: row.lost }));
    draw("rate", each(run => [
      { label: "sent", data: over(run, "sentPerSecond"), borderWidth: 1, borderDash: [2, 3], ...(single && { tone: "quiet" }) },
      { label: "received", data: over(run, "receivedPerSecond") },
      { label: "losses", showLine: false, pointStyle: "triangle", pointRadius: 5, ...(single && { tone: "bad" }),
        data: over(run, "receivedPerSecond").filter(point => point.lost > 0) },
    ]), axis("Since the start", seconds), { ...axis("Pings a second", number), beginAtZero: true, grace: "8%" }, single,
      tip(point => digits(point.y) + "/s, " + point.lost + " lost"));
    draw("latency", each(run => [
      { label: "p50", data: over(run, "p50Us") },
      { label: "longest", data: over(run, "maximumUs"), borderWidth: 1, ...(single && { tone: "run1" }) },
    ]), axis("Since the start", seconds),
      logarithmic("Round trip", time, runs.flatMap(run => run.time.flatMap(row => [row.p50Us, row.maximumUs]))), single,
      tip(point => time(point.y) + " at " + seconds(point.x)));

    document.querySelectorAll(".legend label").forEach((label, index) => {
      const box = Object.assign(document.createElement("input"), { type: "checkbox", checked: true });
      box.addEventListener("change", () => charts.forEach(chart => {
        chart.data.datasets.forEach(set => { if (set.run === index) set.hidden = !box.checked; });
        chart.update("none");
      }));
      label.prepend(box);
    });
  };

  const batch = points => {
    document.querySelectorAll(".scripted").forEach(section => { section.hidden = false; });
    const sets = column => [true, false].map(passed => ({
      label: passed ? "passed" : "not passed", tone: passed ? "run0" : "bad", showLine: false,
      pointStyle: passed ? "circle" : "triangle", pointRadius: passed ? 3 : 5,
      data: points.map((point, index) => ({ x: index + 1, y: point[column], name: point.label, passed: point.passed }))
        .filter(point => point.passed === passed && point.y !== null) }));
    const tip = text => item => item.raw.name + ": " + text(item.raw.y);
    draw("batchP99", sets("p99Us"), axis("Run, in the order of start", number), logarithmic("p99", time, points.map(point => point.p99Us)),
      true, tip(time));
    draw("batchLoss", sets("lossPercent"), axis("Run, in the order of start", number),
      { ...axis("Pings lost of 100", percent), beginAtZero: true }, true, tip(percent));

    const table = document.querySelector("#runs table"), body = table.tBodies[0];
    const key = cell => {
      const figure = cell.querySelector("data");
      if (!figure) return cell.textContent.trim();
      return figure.value === "" ? Infinity : Number(figure.value);
    };
    [...table.tHead.rows[0].cells].forEach((head, column) => {
      const button = Object.assign(document.createElement("button"), { type: "button" });
      button.append(...head.childNodes);
      head.append(button);
      button.addEventListener("click", () => {
        const down = head.getAttribute("aria-sort") !== "descending"
          && (head.hasAttribute("aria-sort") || body.rows[0].cells[column].querySelector("data") !== null);
        for (const other of table.tHead.rows[0].cells) other.removeAttribute("aria-sort");
        head.setAttribute("aria-sort", down ? "descending" : "ascending");
        const rows = [...body.rows].map(row => [key(row.cells[column]), row]);
        const order = ([one], [other]) => typeof one === "number" ? (one < other ? -1 : one > other ? 1 : 0)
          : one.localeCompare(other, "en", { numeric: true });
        rows.sort((one, other) => down ? order(other, one) : order(one, other));
        body.append(...rows.map(([, row]) => row));
      });
    });
  };

  const survey = found => {
    const points = rows => rows.map(row => ({ x: row.sizeBytes, y: row.packetsPerSecond }));
    const bytes = value => number(value) + " bytes", share = value => number(value) + " %";
    const tip = (title, text) => item => item.dataset.label + " at " + title(item.raw.x) + ": " + text(item.raw.y);
    draw("surveyRate", [
      { label: "without loss", tone: "run0", pointRadius: 3, data: points(found.withoutLoss) },
      { label: found.partialLossText, tone: "run1", borderDash: [8, 3], pointRadius: 5, data: points(found.withPartialLoss) },
      { label: "room on the line", tone: "quiet", borderDash: [2, 3], borderWidth: 1, data: points(found.capacity) },
    ].map(set => ({ pointStyle: "circle", ...set })),
    axis("Payload", bytes), { ...axis("Pings a second", number), beginAtZero: true, grace: "8%" }, true,
    tip(bytes, value => digits(value) + "/s"));
    draw("surveyLatency", found.loads.flatMap((size, index) => ["p50", "p99"].map((name, column) => ({
      label: size.label + ", " + name, tone: "run" + index % 8, pointRadius: 3, borderWidth: column ? 1 : 2,
      borderDash: column ? [3, 3] : [], pointStyle: "line",
      data: size.points.map(row => ({ x: row.percent, y: row[name + "Us"] })) }))),
    { ...axis("Share of the rate without loss", share), min: 0, max: 100 },
    logarithmic("Round trip", time, found.loads.flatMap(size => size.points.flatMap(row => [row.p50Us, row.p99Us]))), true,
    tip(share, time));
  };

  Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
  if (data.runs) overlay(data.runs);
  else if (data.survey) survey(data.survey);
  else batch(data.batch);
  for (const note of document.querySelectorAll("details.note")) note.open = false;
  const recolour = () => charts.forEach(chart => { colourise(chart); chart.resize(); chart.update("none"); });
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", recolour);
  matchMedia("print").addEventListener("change", recolour);
})();
