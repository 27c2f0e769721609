// Faults: a switch for each that is often wanted, those in force, and a form for all others.

import { ask } from "/zavsim/page/api.js";
import { byId, html, replace, toggle } from "/zavsim/page/dom.js";

const SWITCHES = [
  { label: "Refuse logins", fault: { kind: "code", code: 1090519041, method: "POST", target: "sessions$", count: 0 } },
  { label: "Answer two seconds late", fault: { kind: "delay", milliseconds: 2000, count: 0 } },
  { label: "Answer with HTTP status 503", fault: { kind: "status", status: 503, count: 0 } },
  { label: "Answer what is not JSON", fault: { kind: "garbage", count: 0 } },
  { label: "Carry out, but lose the answer", fault: { kind: "drop-answer", count: 0 } },
  { label: "Reset every connection", fault: { kind: "reset", count: 0 } },
];

const NUMBERS = ["code", "status", "milliseconds", "bytes", "result", "skip", "count", "probability"];

const HINTS = {
  method: "any", target: "regular expression; any", skip: "0", count: "1; 0: until it is taken away", probability: "1",
  answer: "JSON", description: "Injected fault",
};

// One that hits fewer requests is another.
const isThat = (inForce, fault) =>
  Object.entries(fault).every(([name, value]) => inForce[name] === value) && inForce.probability === 1 &&
  ["method", "target", "skip"].every((name) => inForce[name] === fault[name]);

function inWords(fault) {
  const { kind, number, hits, count, target, method, ...rest } = fault;
  const details = Object.entries(rest).filter(([name, value]) => !(name === "probability" && value === 1) && name !== "description")
    .map(([name, value]) => `${name} ${typeof value === "object" ? JSON.stringify(value) : value}`);
  const which = [method ?? "any method", target === undefined ? "any target" : `target ${target}`].join(", ");
  return `${which}; ${count === 0 ? "until taken away" : `${count} more`}${details.map((each) => "; " + each).join("")}; hit ${hits}`;
}

export function showFaults(faults) {
  replace(byId("fault-switches"), ...SWITCHES.map(({ label, fault }) => {
    const inForce = faults.find((each) => isThat(each, fault));
    return html("li", {}, toggle(label, label, inForce !== undefined,
      (on) => (on ? ask("POST", "faults", fault) : ask("DELETE", `faults/${inForce.number}`))));
  }));
  replace(byId("faults"), faults.length === 0 ? html("p", { class: "quiet" }, "No fault is in force.")
    : html("ul", { class: "plain" }, ...faults.map((fault) => html("li", {},
      html("strong", { class: "bad" }, fault.kind), " ", html("span", {}, inWords(fault)), " ",
      html("button", { type: "button", "data-key": `fault ${fault.number}`, "aria-label": `Take away fault ${fault.number}, ${fault.kind}`,
        click: () => ask("DELETE", `faults/${fault.number}`) }, "Take away")))));
}

// A form that asks for what the chosen kind takes.
export function makeFaultForm(kinds) {
  const form = byId("fault-form");
  const choice = html("select", { name: "kind" }, ...kinds.map(({ kind }) => html("option", { value: kind }, kind)));
  const meaning = html("p", { class: "quiet", id: "fault-meaning" });
  const fields = html("div", { class: "fields" });
  const chosen = () => kinds.find(({ kind }) => kind === choice.value);
  const draw = () => {
    const { needs, takes } = chosen();
    meaning.textContent = chosen().meaning.replaceAll("`", "");
    fields.replaceChildren(...[...needs, ...takes, "method", "target", "skip", "count", "probability"].map((name) =>
      html("label", {}, name, html("input", { name, autocomplete: "off", required: needs.includes(name), placeholder: HINTS[name] ?? "" }))));
  };
  choice.addEventListener("change", draw);
  form.addEventListener("submit", async (event) => {
    event.preventDefault();
    const fault = { kind: choice.value };
    for (const { name, value } of fields.querySelectorAll("input")) {
      if (value !== "") {
        fault[name] = name === "answer" || NUMBERS.includes(name) ? asJson(value) : value;
      }
    }
    if (await ask("POST", "faults", fault)) {
      draw();
    }
  });
  form.replaceChildren(html("label", {}, "kind", choice), meaning, fields, html("button", { class: "go" }, "Put in force"));
  draw();
}

// What is no JSON goes as it is: the simulator says what is wrong with it.
function asJson(text) {
  try {
    return JSON.parse(text);
  } catch {
    return text;
  }
}
