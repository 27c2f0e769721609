// What the page asks of the simulator, and hears from it.

import { byId } from "/zavsim/page/dom.js";

const SILENCE = "no answer";
let told; // what the trouble that is told is about: a request, or SILENCE

function tell(about, words) {
  told = about;
  byId("trouble").textContent = words;
  byId("trouble").hidden = false;
}

function tellNoMore() {
  told = undefined;
  byId("trouble").hidden = true;
}

// The answer's JSON. What is refused is told on the page, and is undefined. It stays told until the same is no longer
// refused, or something else is changed: the page asks for much by itself.
export async function ask(method, resource, body) {
  const request = `${method} ${resource}`;
  try {
    const answer = await fetch("/zavsim/" + resource, {
      method, cache: "no-store", body: body === undefined ? undefined : JSON.stringify(body),
    });
    const json = await answer.json();
    if (answer.ok) {
      if (method !== "GET" || told === request || told === SILENCE) {
        tellNoMore();
      }
      return json;
    }
    tell(request, `Refused: ${json.error}`);
  } catch {
    tell(SILENCE, "The simulator does not answer at this address.");
  }
  return undefined;
}

// Calls handlers.NAME(data) for each event, and handlers.connection(state, words) when it comes or goes. After a loss
// the browser connects again by itself; when it gives up, this does.
export function listen(handlers) {
  const AGAIN_AFTER = 3000;
  const source = new EventSource("/zavsim/events");
  for (const name of ["hello", "request", "answer", "steered", "heartbeat", "resync"]) {
    source.addEventListener(name, (event) => handlers[name]?.(JSON.parse(event.data)));
  }
  source.onopen = () => handlers.connection("live", "live");
  source.onerror = () => {
    handlers.connection("lost", "not connected, trying again");
    if (source.readyState === EventSource.CLOSED) {
      setTimeout(() => listen(handlers), AGAIN_AFTER);
    }
  };
}
