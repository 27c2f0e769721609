// Addresses, sessions and pools.

import { ask } from "/zavsim/page/api.js";
import { byId, bytes, confirmed, html, replace, toggle } from "/zavsim/page/dom.js";

// Why an address should not be taken down unasked; undefined for none. The page may have been opened by another name of
// it than the simulator's.
function objectionTo(url, listeners) {
  if (!listeners.some((each) => each.listening && each.url !== url)) {
    return `No other address listens. Once ${url} is down, only a new start of the simulator puts it up again.`;
  }
  return url === location.origin ? `This page comes from ${url}. Once it is down, only another address puts it up again.`
    : undefined;
}

async function switchAddress(url, listening, listeners) {
  const objection = listening ? undefined : objectionTo(url, listeners);
  if (objection === undefined || (await confirmed(objection, "Take it down"))) {
    await ask("POST", "listeners", { url, listening });
  }
}

export function showAddresses(listeners) {
  replace(byId("addresses"), ...listeners.map(({ url, listening }) => html("li", {},
    toggle(url, url, listening, (on) => switchAddress(url, on, listeners)),
    html("span", { class: listening ? "quiet" : "bad" }, listening ? (url === location.origin ? "this page" : "") : "down"))));
}

async function endSessions() {
  if (await confirmed("End all sessions? Their clients are not told.", "End them")) {
    await ask("DELETE", "sessions");
  }
}

export function showSessions(sessions) {
  replace(byId("sessions"), ...(sessions.length === 0 ? [html("p", { class: "quiet" }, "Nobody is logged in.")] : [
    html("table", {}, html("thead", {}, html("tr", {}, html("th", { class: "number" }, "No."), html("th", {}, "System"), html("th", {}, "User"),
      html("th", { class: "number" }, "Idle"))),
    html("tbody", {}, ...sessions.map((session) => html("tr", {}, html("td", { class: "number" }, session.session),
      html("td", {}, session.system), html("td", {}, session.user), html("td", { class: "number" }, `${session.idleSeconds} s`))))),
    html("button", { type: "button", "data-key": "end", click: endSessions }, "End all")]));
}

const MOST_POOLS = 12;

export function showPools(pools) {
  const rest = pools.length - MOST_POOLS;
  replace(byId("pools"), ...pools.slice(0, MOST_POOLS).map((pool) => {
    const sector = Number(pool.SECTORSIZE ?? 512);
    const total = Number(pool.USERTOTALCAPACITY) * sector;
    const used = Number(pool.USERCONSUMEDCAPACITY) * sector;
    return html("li", {}, html("span", {}, pool.NAME), html("span", { class: "quiet" }, `${bytes(used)} of ${bytes(total)}`),
      html("progress", { max: total, value: used, "aria-label": `${pool.NAME}: used` }));
  }), rest > 0 ? html("li", { class: "quiet" }, `and ${rest} more`) : null);
}
