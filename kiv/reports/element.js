// Makes an element of a page: attributes, or functions that hear its events, and what it holds.
function element(tag, attributes, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {}))
    if (typeof value === "function") made.addEventListener(name, value);
    else if (value !== undefined && value !== false) made.setAttribute(name, value === true ? "" : value);
  made.append(...children.filter(child => child !== null && child !== undefined && child !== ""));
  return made;
}
