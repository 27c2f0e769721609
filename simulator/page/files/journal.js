// The journal: a row for each request, the newest first, that opens to show what was asked and answered.

import { ask } from "/zavsim/page/api.js";
import { byId, counted, html } from "/zavsim/page/dom.js";

const MOST_ROWS = 1000;

const isChange = (record) => record.method !== "GET" && record.method !== "HEAD";

export class Journal {
  constructor(codes) {
    this.codes = codes;
    this.records = new Map(); // number -> { record, row, detail, haystack }, ascending
    this.changed = new Set(); // numbers to draw
    this.isPaused = false;
    this.missed = 0; // came while paused
    this.last = 0;
    byId("journal-tools").addEventListener("submit", (event) => event.preventDefault());
    byId("filter").addEventListener("input", () => this.filterAll());
    byId("which").addEventListener("change", () => this.filterAll());
    byId("pause").addEventListener("click", () => this.pause(!this.isPaused));
    byId("forget").addEventListener("click", () => ask("DELETE", "journal"));
  }

  // All that is there already, or came while nobody heard it.
  async catchUp() {
    const answer = await ask("GET", `journal?last=${MOST_ROWS}`);
    if (answer === undefined || this.isPaused) {
      return;
    }
    const first = answer.entries[0]?.number ?? answer.last + 1;
    for (const number of [...this.records.keys()].filter((each) => each < first)) {
      this.drop(number);
    }
    answer.entries.forEach((record) => this.take(record));
    this.count();
  }

  // An entry as it begins or as it ended; the former may come behind the latter.
  take(record) {
    this.last = Math.max(this.last, record.number);
    if (this.isPaused) {
      this.missed += "status" in record ? 1 : 0;
      this.count();
      return;
    }
    const known = this.records.get(record.number);
    if (known && "status" in known.record && !("status" in record)) {
      return;
    }
    this.records.set(record.number, { ...known, record, haystack: undefined });
    if (this.changed.size === 0) {
      requestAnimationFrame(() => this.draw());
    }
    this.changed.add(record.number);
    if (this.records.size > 2 * MOST_ROWS) { // a page that nobody sees is not drawn, and is told all the same
      const oldest = this.records.keys().next().value;
      this.drop(oldest);
      this.changed.delete(oldest);
    }
  }

  drop(number) {
    const known = this.records.get(number);
    known?.row?.remove();
    known?.detail?.remove();
    this.records.delete(number);
  }

  pause(isPaused) {
    this.isPaused = isPaused;
    this.missed = 0;
    byId("pause").setAttribute("aria-pressed", String(isPaused));
    byId("pause").textContent = isPaused ? "Go on" : "Pause";
    this.count();
    if (!isPaused) {
      this.catchUp();
    }
  }

  draw() {
    const numbers = [...this.changed].sort((a, b) => a - b);
    this.changed.clear();
    const numbersToDrop = [...this.records.keys()].sort((a, b) => a - b).slice(0, Math.max(0, this.records.size - MOST_ROWS));
    numbersToDrop.forEach((number) => this.drop(number));
    for (const number of numbers) {
      const entry = this.records.get(number);
      if (entry) {
        this.drawRow(number, entry);
      }
    }
    this.count();
  }

  drawRow(number, entry) {
    const row = this.rowOf(number, entry);
    if (entry.row) {
      const hadFocus = entry.row.contains(document.activeElement);
      entry.row.replaceWith(row);
      if (hadFocus) {
        row.querySelector("button").focus({ preventScroll: true });
      }
    } else {
      const body = byId("entries");
      const older = [...body.children].find((each) => Number(each.dataset.number) < number) ?? null;
      body.insertBefore(row, older);
    }
    entry.row = row;
    if (entry.detail) {
      const detail = this.detailOf(entry.record);
      entry.detail.replaceWith(detail);
      entry.detail = detail;
    }
    this.filter(entry);
  }

  rowOf(number, entry) {
    const { record } = entry;
    const target = record.target.replace(/^\/deviceManager\/rest\/+(?=sessions)|^\/deviceManager\/rest\/[^/]*\//, "");
    const [words, state] = this.outcome(record);
    return html("tr", { class: state, "data-number": number },
      html("td", { class: "number" }, String(number)),
      html("td", { class: "mono time" }, record.time.slice(11, 23)),
      html("td", {}, html("button", {
        type: "button", class: "entry", "aria-expanded": String(entry.detail !== undefined), click: () => this.toggle(number),
      }, html("span", { class: isChange(record) ? "method change" : "method" }, record.method),
      html("span", { class: "mono" }, target))),
      html("td", { class: "outcome" }, words),
      html("td", { class: "number" }, record.durationMs === undefined ? "" : String(record.durationMs)));
  }

  // What became of a request, in words, and whether that is good.
  outcome(record) {
    if (!("status" in record)) {
      return ["under way", "pending"];
    }
    const fault = record.fault ? `, fault ${record.fault}` : "";
    if (record.status === 0) {
      return [`no answer${fault}`, "failed"];
    }
    if (record.status >= 400) {
      return [`HTTP ${record.status}${fault}`, "failed"];
    }
    if (record.code) {
      return [`${this.codes.array[record.code] ?? this.codes.cluster[record.code] ?? "code"} ${record.code}${fault}`, "failed"];
    }
    return record.fault ? [`fault ${record.fault}`, "failed"] : ["ok", "done"];
  }

  toggle(number) {
    const entry = this.records.get(number);
    if (entry.detail) {
      entry.detail.remove();
      entry.detail = undefined;
    } else {
      entry.detail = this.detailOf(entry.record);
      entry.row.after(entry.detail);
    }
    entry.row.querySelector("button").setAttribute("aria-expanded", String(entry.detail !== undefined));
  }

  detailOf(record) {
    const facts = [["target", record.target], ["address", record.listener],
      ["client", `${record.peer}, connection ${record.connection}`],
      ["session", record.session === undefined ? "none" : String(record.session)],
      ...(record.encoding ? [["compressed", record.encoding]] : [])];
    return html("tr", { class: "detail", "data-number": record.number }, html("td", { colspan: 5 },
      html("dl", {}, ...facts.flatMap(([name, value]) => [html("dt", {}, name), html("dd", { class: "mono" }, value)])),
      html("h3", {}, "Request"), body(record.body, "It has no body."),
      html("h3", {}, "Answer"), body(record.answer, missingAnswer(record))));
  }

  filterAll() {
    this.records.forEach((entry) => this.filter(entry));
    this.count();
  }

  filter(entry) {
    const wanted = byId("filter").value.trim().toLowerCase();
    const which = byId("which").value;
    const [words, state] = this.outcome(entry.record);
    entry.haystack ??= (words + " " + JSON.stringify(entry.record)).toLowerCase();
    const isShown = entry.haystack.includes(wanted) &&
      (which === "all" || (which === "changes" ? isChange(entry.record) : state === "failed"));
    if (entry.row) {
      entry.row.hidden = !isShown;
    }
    if (entry.detail) {
      entry.detail.hidden = !isShown;
    }
  }

  count() {
    const entries = [...this.records.values()];
    const shown = entries.filter(({ row }) => row && !row.hidden).length;
    const missed = this.missed > 0 ? `, ${this.missed} since the pause` : "";
    byId("journal-count").textContent = entries.length === 0 ? ""
      : (shown === entries.length ? counted(shown, "request") : `${shown} of ${counted(entries.length, "request")}`) + missed;
    byId("no-entries").hidden = entries.length > 0;
    byId("requests").hidden = entries.length === 0;
  }
}

function missingAnswer(record) {
  if (!("status" in record)) {
    return "It is still to come.";
  }
  return record.status === 0 ? "None was sent." : "It was not kept: answers are, while a page like this is open.";
}

function body(value, otherwise) {
  if (value === undefined || value === "") {
    return html("p", { class: "quiet" }, otherwise);
  }
  let text = value;
  try {
    text = JSON.stringify(typeof value === "string" ? JSON.parse(value) : value, null, 2);
  } catch {
    // Not whole, or no JSON: as it is.
  }
  return html("pre", { tabindex: 0 }, text);
}
