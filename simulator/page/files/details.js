// One object that was chosen: its record, what it is joined to, and what can be done to it.

import { ask } from "/zavsim/page/api.js";
import { confirmed, html, replace, toggle } from "/zavsim/page/dom.js";
import { WORDS } from "/zavsim/page/objects.js";

const resourceOf = (node) => `objects/${node.kind}/${encodeURIComponent(node.id)}`;

async function remove(node) {
  const what = `${WORDS[node.kind]} ${node.name}`;
  if (await confirmed(`Remove ${what}, and all that joins it to others? Its clients are not told.`, "Remove")) {
    await ask("DELETE", resourceOf(node));
  }
}

let latest = null; // what was chosen last: an answer for another one comes too late

export async function showDetails(element, graph, key, onChoose) {
  latest = key;
  const node = graph.nodes.find((each) => each.key === key && each.kind !== "more");
  element.hidden = node === undefined;
  if (node === undefined) {
    replace(element);
    return;
  }
  const record = await ask("GET", resourceOf(node));
  if (record === undefined || latest !== key) {
    return;
  }
  const joined = graph.edges.filter((edge) => edge.includes(key)).map((edge) => edge.find((each) => each !== key))
    .map((each) => graph.nodes.find((other) => other.key === each)).filter((other) => other && other.kind !== "more");
  replace(element,
    html("h3", {}, `${WORDS[node.kind]} `, html("span", { class: "mono" }, node.name)),
    node.problems.length ? html("p", { class: "bad" }, node.problems.join(", ")) : null,
    html("dl", {}, ...Object.entries(record).flatMap(([name, value]) =>
      [html("dt", {}, name), html("dd", { class: "mono" }, value === "" ? "–" : value)])),
    joined.length ? html("p", {}, "Joined to ", ...joined.map((other) => html("button", {
      type: "button", class: "finding", "data-key": `joined ${other.key}`, click: () => onChoose(other.key),
    }, `${WORDS[other.kind]} ${other.name}`))) : null,
    html("div", { class: "tools" },
      node.kind === "fc_initiator" ? toggle("online", "The array sees this port online", node.online,
        (online) => ask("POST", "ports", { wwn: node.id, online })) : null,
      html("button", { type: "button", class: "danger", "data-key": "remove", click: () => remove(node) },
        "Remove behind its clients’ backs"),
      html("button", { type: "button", "data-key": "close", click: () => onChoose(null) }, "Close")));
}
