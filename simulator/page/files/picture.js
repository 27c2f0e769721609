// Draws the graph of objects: columns from initiator to LUN where there is room, else the same from top to bottom.

import { counted, html, replace, svg } from "/zavsim/page/dom.js";
import { STAGES, WORDS, chainOf } from "/zavsim/page/objects.js";

const NARROW = 760; // pixels, below which columns would be too small
const HEIGHT = 44; // of a box
const GAP = 12; // between two boxes of a column
const BETWEEN = 34; // two columns
const TITLE = 30; // above a column
const MOST_IN_A_STAGE = 40;
const INSET = 11; // of the words in a box
const NARROWEST = 3; // pixels that a letter takes at least

// Ordered so that lines cross little: after the place of what it hangs on, from the mapping views outwards.
function stagesOf(graph) {
  const stages = STAGES.map((_, index) => graph.nodes.filter((node) => node.stage === index));
  const place = new Map();
  const settle = (index, beside) => {
    const others = new Map(beside === undefined ? [] : stages[beside].map((node) => [node.key, place.get(node.key)]));
    const wish = (node) => {
      const places = graph.edges.filter((edge) => edge.includes(node.key))
        .flatMap((edge) => edge.map((key) => others.get(key))).filter((each) => each !== undefined);
      return places.length ? Math.min(...places) : Infinity;
    };
    const wishes = new Map(stages[index].map((node) => [node.key, wish(node)]));
    stages[index].sort((a, b) => (wishes.get(a.key) === wishes.get(b.key) ? 0 : wishes.get(a.key) - wishes.get(b.key)));
    stages[index].forEach((node, at) => place.set(node.key, at));
  };
  settle(3);
  settle(2, 3);
  settle(1, 2);
  settle(0, 1);
  settle(4, 3);
  settle(5, 4);
  return stages.map((nodes) => ({ nodes: nodes.slice(0, MOST_IN_A_STAGE), left: Math.max(0, nodes.length - MOST_IN_A_STAGE) }));
}

// Side by side. The fullest column is packed; the others lie beside the middle of what they hang on.
function layColumns(stages, edges, width) {
  const boxWidth = (width - 2 - (stages.length - 1) * BETWEEN) / stages.length; // lines have half of theirs outside
  const column = boxWidth + BETWEEN;
  const boxes = new Map();
  const fullest = stages.reduce((best, stage, index) => (stage.nodes.length > stages[best].nodes.length ? index : best), 0);
  const middleOf = (node, beside) => {
    const places = edges.filter((edge) => edge.includes(node.key)).flatMap((edge) => edge)
      .filter((key) => beside !== undefined && boxes.get(key)?.stage === beside).map((key) => boxes.get(key).y);
    return places.length ? (Math.min(...places) + Math.max(...places)) / 2 : undefined;
  };
  const lay = (index, beside) => {
    const { nodes } = stages[index];
    const middles = nodes.map((node) => middleOf(node, beside));
    let free = TITLE;
    nodes.forEach((node, at) => {
      const alike = middles.filter((middle) => middle === middles[at]).length;
      const before = middles.slice(0, at).filter((middle) => middle === middles[at]).length;
      const wish = middles[at] === undefined ? free : middles[at] + (before - (alike - 1) / 2) * (HEIGHT + GAP);
      const y = Math.max(free, wish);
      boxes.set(node.key, { x: 1 + index * column, y, width: boxWidth, stage: index });
      free = y + HEIGHT + GAP;
    });
  };
  lay(fullest);
  for (let index = fullest + 1; index < stages.length; index++) {
    lay(index, index - 1);
  }
  for (let index = fullest - 1; index >= 0; index--) {
    lay(index, index + 1);
  }
  const bottoms = stages.map((stage, index) =>
    Math.max(TITLE, ...stage.nodes.map((node) => boxes.get(node.key).y + HEIGHT + GAP)) + (stage.left ? 24 : 0));
  return {
    boxes, height: Math.max(...bottoms),
    titles: stages.map((_, index) => ({ x: 1 + index * column, y: 14 })),
    rests: stages.map((_, index) => ({ x: 1 + index * column, y: bottoms[index] - 12 })),
    line: (from, to) => {
      const [x1, y1, x2, y2] = [from.x + from.width, from.y + HEIGHT / 2, to.x, to.y + HEIGHT / 2];
      const bend = (x2 - x1) / 2;
      return `M${x1} ${y1}C${x1 + bend} ${y1} ${x2 - bend} ${y2} ${x2} ${y2}`;
    },
  };
}

// One below the other, with the lines in a gutter on the left: what meets in one object shares a lane.
function layRows(stages, width) {
  const GUTTER = 34;
  const LANES = 4;
  const MIDDLE = 3; // the stage that lines run towards
  const boxes = new Map();
  const titles = [];
  const rests = [];
  let y = 0;
  stages.forEach((stage, index) => {
    titles.push({ x: GUTTER, y: y + 16 });
    y += 26;
    stage.nodes.forEach((node, at) => {
      boxes.set(node.key, { x: GUTTER, y, width: width - GUTTER - 1, stage: index, lane: at % LANES });
      y += HEIGHT + 8;
    });
    rests.push({ x: GUTTER, y: y + 12 });
    y += stage.left ? 30 : 10;
  });
  return {
    boxes, titles, rests, height: y,
    line: (from, to) => {
      const [y1, y2] = [from.y + HEIGHT / 2, to.y + HEIGHT / 2];
      const { lane } = to.stage <= MIDDLE ? to : from;
      const out = from.x - 9 - 7 * lane;
      return `M${from.x} ${y1}Q${out} ${y1} ${out} ${y1 + 12}L${out} ${y2 - 12}Q${out} ${y2} ${to.x} ${y2}`;
    },
  };
}

const pen = document.createElement("canvas").getContext("2d");

// As much of a text as there is room for. The end of a name tells more than its middle.
function shortened(text, width, font) {
  pen.font = `${font} ${getComputedStyle(document.body).fontFamily}`;
  const fits = (each) => each.length * NARROWEST <= width && pen.measureText(each).width <= width - 2 * INSET;
  let short = text;
  for (let left = Math.min(text.length - 1, Math.ceil(width / NARROWEST)); left > 1 && !fits(short); left--) {
    const end = Math.ceil(left / 2);
    short = `${text.slice(0, left - end)}…${text.slice(text.length - end)}`;
  }
  return short;
}

export class Picture {
  constructor(element, onChoose) {
    this.element = element;
    this.onChoose = onChoose;
    this.chosen = null;
    this.graph = { nodes: [], edges: [] };
    this.lunCount = 0;
    new ResizeObserver(() => this.draw()).observe(element);
    element.addEventListener("keydown", (event) => this.onKey(event));
  }

  show(graph, lunCount) {
    this.graph = graph;
    this.lunCount = lunCount;
    if (!graph.nodes.some((node) => node.key === this.chosen)) {
      this.chosen = null;
    }
    this.draw();
  }

  choose(key) {
    this.chosen = key;
    this.draw();
  }

  draw() {
    const width = this.element.clientWidth;
    if (width === 0 || this.graph.nodes.length === 0) {
      replace(this.element);
      return;
    }
    const stages = stagesOf(this.graph);
    this.stages = stages;
    this.isNarrow = width < NARROW;
    const plan = this.isNarrow ? layRows(stages, width) : layColumns(stages, this.graph.edges, width);
    const chain = this.chosen === null ? null : chainOf(this.graph, this.chosen);
    const inChain = (...keys) => chain === null || keys.every((key) => chain.has(key));
    const lines = this.graph.edges.filter((edge) => edge.every((key) => plan.boxes.has(key)));
    const stop = this.chosen ?? stages.flatMap((stage) => stage.nodes)[0].key; // of the tabulator key
    replace(this.element, svg("svg",
      { width, height: plan.height, viewBox: `0 0 ${width} ${plan.height}`, role: "group",
        "aria-label": "What hangs on what: arrow keys move from object to object, Enter chooses one" },
      ...stages.flatMap((stage, index) => this.headings(stage, index, plan)),
      svg("g", { class: "lines", "aria-hidden": "true" }, ...lines.map(([from, to]) => svg("path", {
        d: plan.line(plan.boxes.get(from), plan.boxes.get(to)), class: inChain(from, to) ? "" : "aside" }))),
      ...stages.flatMap((stage) => stage.nodes).map((node) =>
        this.box(node, plan.boxes.get(node.key), inChain(node.key), node.key === stop))));
  }

  headings(stage, index, plan) {
    const count = stage.nodes.length + stage.left;
    const total = STAGES[index].title === "LUNs" ? `${this.lunCount} on the array` : String(count);
    return [
      svg("text", { ...plan.titles[index], class: "stage" }, STAGES[index].title, svg("tspan", { dx: 8 }, total)),
      stage.left ? svg("text", { ...plan.rests[index], class: "rest" }, `and ${stage.left} more`) : null,
    ];
  }

  box(node, place, isInChain, isStop) {
    const isBroken = node.problems.length > 0;
    const words = isBroken ? node.problems.join(", ") : node.note;
    const label = node.kind === "more" ? `${node.name} in LUN group ${node.id}`
      : `${WORDS[node.kind]} ${node.name}${isBroken ? ": " + words : ""}`;
    const classes = ["box", isBroken ? "broken" : "", isInChain ? "" : "aside", node.key === this.chosen ? "chosen" : ""];
    return svg("g", {
      class: classes.filter(Boolean).join(" "), transform: `translate(${place.x} ${place.y})`, "data-key": node.key,
      role: "button", tabindex: isStop ? 0 : -1, "aria-pressed": String(node.key === this.chosen), "aria-label": label,
      click: () => this.onChoose(node.key === this.chosen ? null : node.key),
    },
    svg("title", {}, label),
    svg("rect", { width: place.width, height: HEIGHT, rx: 5 }),
    svg("text", { x: INSET, y: words ? 18 : 27, class: "name" }, shortened(node.name, place.width, "500 13px")),
    svg("text", { x: INSET, y: 34, class: "words" }, shortened(words, place.width, "600 12px")));
  }

  // Up and down within a stage, left and right to what hangs on it.
  onKey(event) {
    const key = event.target.dataset?.key;
    if (key === undefined) {
      return;
    }
    if (event.key === "Enter" || event.key === " ") {
      event.preventDefault();
      this.onChoose(key === this.chosen ? null : key);
      return;
    }
    const next = this.neighbour(key, event.key);
    if (next !== undefined) {
      event.preventDefault();
      this.focus(next);
    }
  }

  neighbour(key, pressed) {
    const at = this.stages.findIndex((stage) => stage.nodes.some((node) => node.key === key));
    const keys = this.stages[at].nodes.map((node) => node.key);
    const along = { ArrowUp: -1, ArrowDown: 1 }[pressed];
    if (along !== undefined) {
      return keys[keys.indexOf(key) + along] ?? (this.isNarrow ? this.endOf(at + along, along) : undefined);
    }
    const across = { ArrowLeft: -1, ArrowRight: 1 }[pressed];
    if (across === undefined) {
      return undefined;
    }
    const joined = this.graph.edges.filter((edge) => edge[across < 0 ? 1 : 0] === key).map((edge) => edge[across < 0 ? 0 : 1]);
    const shown = this.stages[at + across]?.nodes.map((node) => node.key) ?? [];
    return shown.find((each) => joined.includes(each)) ?? shown[0];
  }

  endOf(stage, along) {
    const nodes = this.stages[stage]?.nodes ?? [];
    return (along > 0 ? nodes[0] : nodes.at(-1))?.key;
  }

  focus(key) {
    for (const box of this.element.querySelectorAll(".box")) {
      const isIt = box.dataset.key === key;
      box.setAttribute("tabindex", isIt ? 0 : -1);
      if (isIt) {
        box.focus();
      }
    }
  }
}

// The first line above the picture: what is amiss, or that nothing is.
export function verdict(element, graph, listeners, faults, onChoose) {
  const findings = [
    ...graph.nodes.filter((node) => node.problems.length).map((node) => html("button", {
      type: "button", class: "finding", "data-key": `finding ${node.key}`, click: () => onChoose(node.key),
    }, `${WORDS[node.kind]} ${node.name}: ${node.problems.join(", ")}`)),
    ...listeners.filter((listener) => !listener.listening).map((listener) =>
      html("span", { class: "finding" }, `address ${listener.url}: down`)),
    ...faults.map((fault) => html("span", { class: "finding" }, `fault in force: ${fault.kind}`)),
  ];
  const MOST = 12;
  const rest = findings.length - MOST;
  if (findings.length > 0) {
    replace(element, html("p", { class: "bad" }, counted(findings.length, "thing") + (findings.length === 1 ? " is" : " are") + " amiss"),
      html("ul", {}, ...findings.slice(0, MOST).map((each) => html("li", {}, each)),
        rest > 0 ? html("li", {}, `and ${rest} more`) : null));
  } else if (graph.nodes.length === 0) {
    replace(element, html("p", {}, "Nothing is mapped: the array holds no host, no group and no mapping view yet."));
  } else {
    const views = graph.nodes.filter((node) => node.kind === "mappingview").length;
    replace(element, html("p", { class: "good" }, `All hangs together, by ${counted(views, "mapping view")}.`));
  }
}
