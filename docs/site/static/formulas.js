// Draws the formulas of a page.
for (const place of document.querySelectorAll(".formula")) {
    katex.render(place.textContent, place, { displayMode: place.classList.contains("display"), throwOnError: false });
}
