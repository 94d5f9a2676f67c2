</script>
<script>
"use strict";
const data = JSON.parse(document.getElementById("data").textContent);
// A little more than the log at both ends, so that what stands there is seen whole.
const margin = Math.max(data.end, 1e-3) / 80;
const whole = {from: -margin, to: Math.max(data.end, 1e-3) + margin};
const view = {...whole};
const byId = (id) => document.getElementById(id);
const symbols = {
  "downloaded": ["\u2193", "downloaded"], "fetched-ahead": ["\u21d3", "fetched ahead"],
  "new-version": ["\u2726", "new version"], "waiting-busy": ["\u2016", "waits, busy"],
  "launch-failed": ["\u2715", "launch failed, back-off"],
  "heartbeat-lost": ["\u2665", "heartbeat lost"], "rolled-back": ["\u21a9", "rolled back"],
  "dropped": ["\u25a0", "dropped"], "supervisor-started": ["\u25b2", "supervisor started"],
  "fetched": ["\u2261", "list fetched"]};
const other = ["\u2022", "other"];

function make(tag, parent, className, text) {
  const element = document.createElement(tag);
  if (className) element.className = className;
  if (text !== undefined) element.textContent = text;
  parent.append(element);
  return element;
}

// ---- what stands above -------------------------------------------------------------------------

function showAlarms() {
  for (const alarm of data.alarms) {
    const box = make("div", byId("alarms"), "alarm" + (alarm.over ? " over" : ""));
    make("b", box, "", (alarm.over ? "over: " : "") + alarm.name);
    box.append((alarm.process ? alarm.process + ": " : "") + alarm.words);
    make("small", box, "", `since ${alarm.since}, last ${alarm.last} (line ${alarm.line})` +
      (alarm.over ? "" : ` \u2014 do: ${alarm.advice}`));
  }
}

function showTable() {
  const head = make("tr", make("thead", byId("table")));
  data.heads.forEach((text, i) => make("th", head, data.numbers.includes(i) ? "number" : "", text));
  const body = make("tbody", byId("table"));
  for (const row of data.rows) {
    const line = make("tr", body);
    row.forEach((text, i) => {
      const state = i === 1 ? text.split(/[ ,]/)[0] : "";
      make("td", line, data.numbers.includes(i) ? "number" : state, text);
    });
  }
  byId("guess").hidden = !data.hasGuess;
}

// ---- time ---------------------------------------------------------------------------------------

// The clock at a place of the axis: the axis runs on where the clock was set.
function clockAt(x) {
  let at = data.clock[0];
  for (const segment of data.clock) if (segment.x <= x) at = segment;
  return at.t + (x - at.x);
}

const two = (n) => String(n).padStart(2, "0");
function clockText(seconds, step) {
  if (data.axis === "line") return "line " + Math.round(seconds);
  if (data.axis === "elapsed") return seconds.toFixed(step < 1 ? 1 : 0) + " s";
  const date = new Date(seconds * 1000);
  const time = two(date.getUTCHours()) + ":" + two(date.getUTCMinutes()) +
    (step < 60 ? ":" + two(date.getUTCSeconds()) : "") +
    (step < 1 ? "." + Math.floor(date.getUTCMilliseconds() / 100) : "");
  if (data.axis === "time") return time;
  return time + "\n" + date.getUTCFullYear() + "-" + two(date.getUTCMonth() + 1) + "-" + two(date.getUTCDate());
}

const steps = [0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200,
  86400, 172800, 604800, 1209600, 2592000, 7776000, 31536000];
function showTicks(width) {
  const ticks = byId("ticks");
  ticks.replaceChildren();
  const span = view.to - view.from;
  const room = Math.max(2, Math.floor(width / 90));
  const step = steps.find((s) => span / s <= room) || span / room;
  const offset = clockAt(view.from) - view.from;
  for (let t = Math.ceil((view.from + offset) / step) * step; t <= view.to + offset; t += step) {
    const x = t - offset;
    make("div", ticks, "tick", clockText(clockAt(x), step)).style.left = place(x) + "%";
  }
  for (const {x} of data.clock.slice(1)) {
    if (x >= view.from && x <= view.to) make("div", ticks, "tick jump", "clock set").style.left = place(x) + "%";
  }
}

// ---- lanes --------------------------------------------------------------------------------------

const place = (x) => (x - view.from) / (view.to - view.from) * 100;
const items = [];  // what has a place on the axis: its element, and what its tip says

function addBar(track, bar) {
  const element = make("div", track, "bar " + (bar.state === "running" ? "v" + bar.colour % 6 : bar.state), bar.version);
  element.dataset.item = items.length;
  items.push({element, track, from: bar.from, to: bar.to, lines: bar.lines,
    title: [bar.state === "mixed" ? bar.count + " short states" : bar.state, bar.version].filter(Boolean).join(" "),
    time: bar.since + ", " + bar.length});
}

const tones = ["plain", "good", "notable", "bad"];
const heaviest = ["heartbeat-lost", "launch-failed", "rolled-back"];
function addMark(track, mark) {
  const [symbol] = symbols[mark.kind] || other;
  const element = make("div", track, "mark " + mark.tone, symbol);
  element.dataset.item = items.length;
  const item = {element, track, from: mark.at, to: mark.at, lines: mark.lines, title: mark.words, time: mark.since,
    weight: tones.indexOf(mark.tone) + heaviest.indexOf(mark.kind) + 1};
  items.push(item);
  return item;
}

// Where marks would lie on each other, the weightiest is seen, and its tip tells of them all.
function heapMarks(marks, width) {
  const perPixel = (view.to - view.from) / width;
  let top = null;
  for (const mark of marks) {
    if (top && mark.from - top.first < 11 * perPixel) {
      top.heap.push(mark);
      const hidden = mark.weight > top.seen.weight ? top.seen : mark;
      if (hidden === top.seen) top.seen = mark;
      hidden.element.style.display = "none";
    } else {
      top = {first: mark.from, heap: [mark], seen: mark};
    }
    top.seen.heap = top.heap;
  }
}

const lanes = data.lanes.map((lane) => {
  const row = make("div", byId("lanes"), "lane");
  make("div", row, "name", lane.name).title = lane.name;
  const track = make("div", row, "track");
  lane.bars.forEach((bar) => addBar(track, bar));
  const marks = lane.marks.map((mark) => addMark(track, mark));
  return {row, marks, name: lane.name.toLowerCase()};
});

let isDue = false;
function draw() {
  isDue = false;
  const width = byId("ticks").clientWidth;
  showTicks(width);
  for (const item of items) {
    const isSeen = item.to >= view.from && item.from <= view.to;
    item.element.style.display = isSeen ? "" : "none";
    if (!isSeen) continue;
    const left = Math.max(item.from, view.from);
    item.element.style.left = place(left) + "%";
    if (!item.element.classList.contains("bar")) continue;
    const pixels = (Math.min(item.to, view.to) - left) / (view.to - view.from) * width;
    item.element.style.width = Math.max(pixels, 2) + "px";
    item.element.classList.toggle("narrow", pixels < 26);
  }
  for (const lane of lanes) heapMarks(lane.marks, width);
}
function redraw() {
  if (!isDue) requestAnimationFrame(draw);
  isDue = true;
}

// ---- zoom and tips ------------------------------------------------------------------------------

function show(from, to) {
  byId("tip").hidden = true;
  const span = Math.min(Math.max(to - from, (whole.to - whole.from) / 1e6, 1e-3), whole.to - whole.from);
  view.from = Math.min(Math.max(from, whole.from), whole.to - span);
  view.to = view.from + span;
  redraw();
}
function zoom(factor, share = 0.5) {
  const span = view.to - view.from;
  const centre = view.from + span * share;
  show(centre - span * factor * share, centre + span * factor * (1 - share));
}
const shareOf = (event) => {
  const box = byId("ticks").getBoundingClientRect();
  return Math.min(Math.max((event.clientX - box.left) / box.width, 0), 1);
};
byId("in").onclick = () => zoom(0.5);
byId("out").onclick = () => zoom(2);
byId("all").onclick = () => show(whole.from, whole.to);
byId("timeline").addEventListener("wheel", (event) => {
  if (!event.target.closest(".track") || !(event.ctrlKey || event.shiftKey || event.altKey)) return;
  event.preventDefault();
  zoom((event.deltaY || event.deltaX) > 0 ? 1.25 : 0.8, shareOf(event));
}, {passive: false});
byId("timeline").addEventListener("dblclick", (event) => {
  if (event.target.closest(".track")) zoom(event.shiftKey ? 4 : 0.25, shareOf(event));
});
addEventListener("keydown", (event) => {
  if (event.target.tagName === "INPUT") return;
  const pan = (view.to - view.from) / 4;
  const keys = {"+": () => zoom(0.5), "-": () => zoom(2), "0": byId("all").onclick,
    "ArrowLeft": () => show(view.from - pan, view.to - pan), "ArrowRight": () => show(view.from + pan, view.to + pan)};
  if (keys[event.key]) keys[event.key]();
});
let drag = null;
byId("timeline").addEventListener("pointerdown", (event) => {
  const track = event.target.closest(".track");
  if (track && event.button === 0) drag = {x: event.clientX, from: view.from, to: view.to, track};
});
addEventListener("pointermove", (event) => {
  if (!drag) return;
  drag.track.classList.add("dragged");
  const moved = (drag.x - event.clientX) / byId("ticks").clientWidth * (drag.to - drag.from);
  show(drag.from + moved, drag.to + moved);
});
addEventListener("pointerup", () => {
  if (drag) drag.track.classList.remove("dragged");
  drag = null;
});

const shownMarks = 4;
function showTip(item, event) {
  const tip = byId("tip");
  tip.replaceChildren();
  for (const {title, time, lines} of (item.heap || [item]).slice(0, shownMarks)) {
    make("b", tip, "", title);
    make("div", tip, "", time);
    for (const line of lines) make("code", tip, "", line);
  }
  if (item.heap && item.heap.length > shownMarks) make("div", tip, "", `and ${item.heap.length - shownMarks} more: zoom in`);
  tip.hidden = false;
  const left = Math.min(event.clientX + 14, innerWidth - tip.offsetWidth - 8);
  const below = event.clientY + 18;
  const top = below + tip.offsetHeight > innerHeight ? event.clientY - tip.offsetHeight - 10 : below;
  tip.style.left = Math.max(left, 4) + "px";
  tip.style.top = Math.max(top, 4) + "px";
}
byId("lanes").addEventListener("mousemove", (event) => {
  const index = event.target.dataset.item;
  if (index === undefined || drag) byId("tip").hidden = true;
  else showTip(items[index], event);
});
byId("lanes").addEventListener("mouseleave", () => byId("tip").hidden = true);
byId("find").addEventListener("input", (event) => {
  const wanted = event.target.value.toLowerCase();
  for (const lane of lanes) lane.row.style.display = lane.name.includes(wanted) ? "" : "none";
});
addEventListener("resize", redraw);

byId("summary").textContent = data.summary;
byId("legend").textContent = "";
for (const [symbol, words] of Object.values(symbols)) make("span", byId("legend"), "", symbol + " " + words);
make("span", byId("legend"), "", "zoom: + and -, double click, Ctrl and wheel; drag moves");
showAlarms();
showTable();
draw();
</script>
</body>
</html>
