// Search over SEARCH_INDEX, which a script of its own holds, so that the pages need no
// server. An entry is [name, page, first sentence, all words].
"use strict";
(() => {
    const field = document.getElementById("search");
    const list = document.getElementById("found");
    const most = 12;
    let chosen = -1;

    // Words that a name is made of count most, then the first sentence, then the rest.
    function score(entry, words) {
        const [name, , lead, text] = entry.map((part) => part.toLowerCase());
        let total = 0;
        for (const word of words) {
            let points = 0;
            if (name === word) points = 100;
            else if (name.replace(/^quib/, "").startsWith(word)) points = 60;
            else if (name.includes(word)) points = 40;
            else if (lead.includes(word)) points = 15;
            else if (text.includes(word)) points = 5;
            if (points === 0) return 0;
            total += points;
        }
        return total - name.length / 100;
    }

    function find(query) {
        const words = query.toLowerCase().split(/\s+/).filter(Boolean);
        if (words.length === 0) return [];
        return SEARCH_INDEX.map((entry) => [score(entry, words), entry])
            .filter(([points]) => points > 0)
            .sort((a, b) => b[0] - a[0])
            .slice(0, most)
            .map(([, entry]) => entry);
    }

    function choose(next) {
        const items = list.querySelectorAll("a");
        if (items.length === 0) return;
        chosen = (next + items.length) % items.length;
        items.forEach((item, i) => item.setAttribute("aria-selected", i === chosen));
        items[chosen].scrollIntoView({ block: "nearest" });
    }

    function show() {
        const found = find(field.value);
        list.replaceChildren(...found.map(([name, page, lead]) => {
            const item = document.createElement("li");
            const link = document.createElement("a");
            const title = document.createElement("b");
            link.href = page;
            link.setAttribute("role", "option");
            title.textContent = name;
            link.append(title, lead);
            item.append(link);
            return item;
        }));
        if (found.length === 0 && field.value.trim()) {
            const item = document.createElement("li");
            item.className = "none";
            item.textContent = "Nothing found";
            list.append(item);
        }
        list.hidden = list.childElementCount === 0;
        field.setAttribute("aria-expanded", !list.hidden);
        chosen = -1;
        if (found.length) choose(0);
    }

    field.addEventListener("input", show);
    field.addEventListener("focus", show);
    field.addEventListener("keydown", (event) => {
        if (event.key === "ArrowDown") choose(chosen + 1);
        else if (event.key === "ArrowUp") choose(chosen - 1);
        else if (event.key === "Escape") { field.value = ""; show(); field.blur(); }
        else if (event.key === "Enter") list.querySelectorAll("a")[chosen]?.click();
        else return;
        event.preventDefault();
    });
    document.addEventListener("click", (event) => {
        if (!event.target.closest(".search")) list.hidden = true;
    });
    document.addEventListener("keydown", (event) => {
        if (event.key === "/" && event.target === document.body) {
            event.preventDefault();
            field.focus();
        }
    });

    // The list of functions is open where there is room for it.
    const menu = document.querySelector(".menu");
    const wide = window.matchMedia("(min-width: 60rem)");
    const fit = () => { menu.open = wide.matches; };
    wide.addEventListener("change", fit);
    fit();
    document.querySelector("nav [aria-current]")?.scrollIntoView({ block: "nearest" });

    // For links to a search, and for the tests: index.html?q=median
    const query = new URLSearchParams(location.search).get("q");
    if (query) { field.value = query; show(); }
})();
