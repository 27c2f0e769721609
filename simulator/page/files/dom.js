// Makes elements. Texts only ever become text: names on the array are anybody's.

const SVG = "http://www.w3.org/2000/svg";

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") {
      element.addEventListener(name, value);
    } else if (value === true) {
      element.setAttribute(name, "");
    } else if (value !== false && value !== undefined && value !== null) {
      element.setAttribute(name, value);
    }
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

export const html = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);
export const svg = (tag, attributes = {}, ...children) =>
  fill(document.createElementNS(SVG, tag), attributes, children);
export const byId = (id) => document.getElementById(id);

// Replaces what an element holds, and leaves the keyboard's focus where it was: on the child of the same data-key.
export function replace(element, ...children) {
  const active = document.activeElement;
  const key = element.contains(active) ? active.dataset.key : undefined;
  element.replaceChildren(...children.filter((child) => child !== null));
  if (key !== undefined) {
    element.querySelector(`[data-key="${CSS.escape(key)}"]`)?.focus({ preventScroll: true });
  }
}

// Asks before something is done that the page cannot undo.
export function confirmed(text, action) {
  const dialog = byId("confirm");
  byId("confirm-text").textContent = text;
  byId("confirm-yes").textContent = action;
  dialog.returnValue = "no";
  dialog.showModal();
  return new Promise((resolve) =>
    dialog.addEventListener("close", () => resolve(dialog.returnValue === "yes"), { once: true }));
}

// A switch that asks for its change; what it then shows is told from outside.
export function toggle(key, label, isOn, change) {
  return html("button", {
    type: "button", role: "switch", class: "switch", "data-key": key, "aria-checked": String(isOn),
    click: () => change(!isOn),
  }, html("span", { class: "knob", "aria-hidden": "true" }), html("span", {}, label));
}

export function bytes(count) {
  const units = ["B", "KiB", "MiB", "GiB", "TiB", "PiB"];
  let unit = 0;
  for (; count >= 1024 && unit < units.length - 1; unit++) {
    count /= 1024;
  }
  return `${count >= 100 ? count.toFixed(0) : Number(count.toFixed(1))} ${units[unit]}`;
}

export const counted = (count, one, many = one + "s") => `${count} ${count === 1 ? one : many}`;
