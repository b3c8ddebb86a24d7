"""One line a figure, as the measuring programs beside this folder print them; and the same for
other programs to read."""
import math


class Figures:
    def __init__(self):
        self.all = []

    def tell(self, name, value, unit, at_most=None, at_least=None):
        """Prints the figure beside its goal, if it has one."""
        line = f"{name}: {value:.2f} {unit}"
        figure = {"name": name, "value": None if math.isnan(value) else value, "unit": unit}
        goal = at_most if at_most is not None else at_least
        if goal is not None:
            is_met = value <= at_most if at_most is not None else value >= at_least
            bound = "" if at_most is not None else "at least "
            line += f", goal {bound}{goal:.2f} {'met' if is_met else 'MISSED'}"
            figure |= {"goal": goal, "bound": "at most" if at_most is not None else "at least",
                       "met": is_met}
        print(line, flush=True)
        self.all.append(figure)
