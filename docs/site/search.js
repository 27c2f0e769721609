// Searches the site without a server: the sections of all pages are in SECTIONS (sections.js), each [page, heading, where, text].
"use strict";
const field = document.getElementById("search");
const found = document.getElementById("found");
const pages = document.querySelector(".pages");
pages.open = !matchMedia("(max-width: 52rem)").matches; // a narrow screen begins with the text

function score(section, words) {
    const [page, heading, , text] = section;
    const title = (page + " " + heading).toLowerCase();
    const body = text.toLowerCase();
    let sum = body.includes(words.join(" ")) ? 10 : 0; // side by side
    for (const word of words) {
        const inTitle = title.includes(word);
        if (!inTitle && !body.includes(word)) {
            return 0;
        }
        sum += (inTitle ? 20 : 0) + Math.min(body.split(word).length - 1, 5);
    }
    return sum;
}

// The text around the first of the words, with all of them marked.
function excerpt(text, words) {
    const lower = text.toLowerCase();
    const at = Math.max(0, Math.min(...words.map((word) => lower.indexOf(word)).filter((each) => each >= 0), Infinity));
    const start = Number.isFinite(at) ? Math.max(0, at - 40) : 0;
    const part = (start > 0 ? "…" : "") + text.slice(start, start + 140) + (text.length > start + 140 ? "…" : "");
    const span = document.createElement("span");
    const pattern = new RegExp("(" + words.map((word) => word.replace(/[.*+?^${}()|[\]\\]/g, "\\$&")).join("|") + ")", "gi");
    part.split(pattern).forEach((piece, index) => {
        if (index % 2 === 1) {
            span.appendChild(document.createElement("mark")).textContent = piece;
        } else {
            span.append(piece);
        }
    });
    return span;
}

function search() {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    found.replaceChildren();
    pages.hidden = words.length > 0;
    if (words.length === 0) {
        return;
    }
    const best = SECTIONS.map((section) => [score(section, words), section]).filter(([points]) => points > 0);
    best.sort((one, other) => other[0] - one[0]);
    for (const [, [page, heading, where, text]] of best.slice(0, 12)) {
        const link = document.createElement("a");
        link.href = ROOT + where;
        link.appendChild(document.createElement("b")).textContent = heading === "" ? page : page + ": " + heading;
        link.appendChild(excerpt(text, words));
        found.appendChild(document.createElement("li")).appendChild(link);
    }
    if (best.length === 0) {
        found.appendChild(document.createElement("li")).textContent = "nothing has these words";
    }
}

field.addEventListener("input", search);
document.addEventListener("keydown", (event) => {
    if (event.key === "/" && document.activeElement !== field) {
        event.preventDefault();
        field.focus();
    } else if (event.key === "Escape" && document.activeElement === field) {
        field.value = "";
        search();
    } else if (event.key === "Enter" && document.activeElement === field && found.querySelector("a")) {
        found.querySelector("a").click();
    }
});
