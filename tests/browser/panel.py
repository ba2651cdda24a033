"""The front panel in the browser, and the unit behind it."""

from selenium.webdriver.common.by import By

from desk import wait_for


class Panel:
    def __init__(self, driver, desk):
        self.driver, self.desk = driver, desk
        self.url = f"http://{desk.address('http')}/"

    def open(self):
        self.driver.get_log("browser")  # drops the entries of the page before
        self.driver.get(self.url)
        self.wait_live()
        # Gone after a reload.
        self.driver.execute_script("window.opened = true")

    def was_reloaded(self):
        return not self.driver.execute_script("return window.opened === true")

    def find(self, css):
        return self.driver.find_element(By.CSS_SELECTOR, css)

    def screen_text(self, element_id):
        return self.driver.execute_script(
            "return document.getElementById('screen').shadowRoot.getElementById(arguments[0])?.textContent", element_id)

    def wait_live(self):
        wait_for(lambda: self.find("#connection").text == "Live" and not self.find("#veil").is_displayed(),
                 "the panel to be live", 20)

    def errors(self):
        return [entry for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]
