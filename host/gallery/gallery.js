// What JavaScript adds to the pages: a search and a choice of category on the overview, a slider between before and
// after. Only this script shows the controls, so a browser without JavaScript shows none that do nothing.
"use strict";

// On the overview: shows the cards that match, and hides categories without a match.
function addSearch(tools) {
  const search = document.getElementById("search");
  const category = document.getElementById("category");
  const count = document.getElementById("count");

  function update() {
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const section of document.querySelectorAll(".category")) {
      const isChosen = !category.value || section.dataset.category === category.value;
      let shownHere = 0;
      for (const card of section.querySelectorAll(".card")) {
        const text = `${section.dataset.category} ${card.textContent}`.toLowerCase();
        card.hidden = !isChosen || !words.every((word) => text.includes(word));
        shownHere += card.hidden ? 0 : 1;
      }
      section.hidden = shownHere === 0;
      shown += shownHere;
    }
    count.textContent = shown === 1 ? "1 filter" : `${shown} filters`;
  }

  search.addEventListener("input", update);
  category.addEventListener("change", update);
  tools.addEventListener("submit", (event) => event.preventDefault());
  tools.hidden = false;
  update();  // a browser that returns to the page restores the fields
}

// Puts the picture after the filter over the picture before it, clipped at the slider.
function addSlider(figure) {
  const pair = figure.querySelector(".pair");
  if (figure.querySelector(".missing")) return;
  const slider = document.createElement("input");
  Object.assign(slider, { type: "range", min: 0, max: 100, value: 50 });
  const label = document.createElement("label");
  label.className = "slider";
  label.append("Before and after ", slider);
  pair.after(label);

  function update() {
    pair.style.setProperty("--cut", `${slider.value}%`);
    slider.setAttribute("aria-valuetext", `${slider.value} percent before, ${100 - slider.value} percent after`);
  }

  function follow(event) {
    const box = pair.getBoundingClientRect();
    slider.value = Math.round(((event.clientX - box.left) / box.width) * 100);
    update();
  }

  slider.addEventListener("input", update);
  pair.addEventListener("pointerdown", (event) => {
    pair.setPointerCapture(event.pointerId);
    event.preventDefault();
    follow(event);
  });
  pair.addEventListener("pointermove", (event) => {
    if (pair.hasPointerCapture(event.pointerId)) follow(event);
  });
  figure.classList.add("sliding");
  update();
}

const tools = document.querySelector(".tools");
if (tools) addSearch(tools);
document.querySelectorAll(".compare").forEach(addSlider);
